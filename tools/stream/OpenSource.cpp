#include "io/ToolError.h"
#include "stream/AnnexBSource.h"
#include "stream/FileFormat.h"

#include <fmt/format.h>

#ifdef VIDEOPARAMS_TOOL_CONTAINERS
#include "stream/container/ContainerSource.h"
#endif

namespace tool {

namespace {

constexpr size_t HeadSize = 1 << 20;

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
    const std::vector<unsigned char>& head = file->Peek(HeadSize);
    const std::string_view container =
        FileFormatName({reinterpret_cast<const char*>(head.data()), head.size()});
    if (!container.empty())
        throw CToolError(fmt::format("{}: this is {}, and this videoparams was built without containers "
                                     "(-DVIDEOPARAMS_TOOL_CONTAINERS=OFF); it reads byte streams only",
                                     file->Name(), container));
    return nullptr;
}

#endif

}  // namespace

std::unique_ptr<CUnitSource> OpenSource(const SourceOptions& options)
{
    std::unique_ptr<CInputFile> file;
    if (!IsUrl(options.file))
        file = std::make_unique<CInputFile>(options.file);
    if (std::unique_ptr<CUnitSource> container = OpenContainer(options, file))
        return container;
    return std::make_unique<CAnnexBSource>(std::move(file), options);
}

}  // namespace tool
