#include "bitstream/StartCode.h"
#include "io/ToolError.h"
#include "stream/AnnexBSource.h"
#include "stream/Detection.h"
#include "stream/FileFormat.h"
#include "stream/GivenSets.h"

#include <fmt/format.h>

#ifdef VIDEOPARAMS_TOOL_CONTAINERS
#include "stream/container/ContainerSource.h"
#endif

namespace tool {

namespace {

constexpr size_t HeadSize = 1 << 20;
constexpr size_t SmallestHead = 16 << 10;

#ifdef VIDEOPARAMS_TOOL_CONTAINERS

std::unique_ptr<CUnitSource> OpenContainer(const SourceOptions& options, std::unique_ptr<CInputFile>& file)
{
    if (!file)
        return std::make_unique<CContainerSource>(std::make_unique<CContainerInput>(options.file), options);
    const AVInputFormat* const format = DetectContainerFormat(*file, HeadSize);
    if (format == nullptr)
        return nullptr;
    return std::make_unique<CContainerSource>(std::make_unique<CContainerInput>(std::move(file), format),
                                              options);
}

#else

bool IsUrl(const std::string&)
{
    return false;
}

std::unique_ptr<CUnitSource> OpenContainer(const SourceOptions&, std::unique_ptr<CInputFile>& file)
{
    const std::vector<unsigned char>& bytes = file->Peek(HeadSize);
    const std::string_view head(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::string_view format = FileFormatName(head);
    if (IsVideoContainer(head))
        throw CToolError(fmt::format("{}: this is {}, and this videoparams was built without containers "
                                     "(-DVIDEOPARAMS_TOOL_CONTAINERS=OFF); it reads byte streams only",
                                     file->Name(), format));
    if (!format.empty())
        throw CToolError(
            fmt::format("{}: this is {}; this tool reads H.264 and H.265 video", file->Name(), format));
    return nullptr;
}

#endif

// libavformat takes a byte stream without parameter sets for something else.
bool IsCertainlyByteStream(CInputFile& file)
{
    const std::vector<unsigned char>& head = file.Peek(SmallestHead);
    return videoparams::BeginsWithStartCode(head.data(), static_cast<uint32_t>(head.size())) &&
           LooksLikeByteStream({reinterpret_cast<const char*>(head.data()), head.size()});
}

std::unique_ptr<CUnitSource> OpenFile(const SourceOptions& options, std::unique_ptr<CInputFile> file)
{
    if (file && IsCertainlyByteStream(*file))
        return std::make_unique<CAnnexBSource>(std::move(file), options);
    if (std::unique_ptr<CUnitSource> container = OpenContainer(options, file))
        return container;
    return std::make_unique<CAnnexBSource>(std::move(file), options);
}

}  // namespace

std::unique_ptr<CUnitSource> OpenSource(const SourceOptions& options)
{
    std::unique_ptr<CInputFile> file;
    if (!IsUrl(options.file))
        file = std::make_unique<CInputFile>(options.file);
    std::unique_ptr<CInterrupt> interrupt;
    if (!file || !file->IsRegular())
        interrupt = std::make_unique<CInterrupt>();
    std::unique_ptr<CUnitSource> source = OpenFile(options, std::move(file));
    source->EndOnInterrupt(std::move(interrupt));
    if (!options.setsFile.empty())
        source->GiveSets(ReadGivenSets(options.setsFile, source->Codec()));
    return source;
}

}  // namespace tool
