#include "stream/AnnexBSource.h"

#include "io/OutputFile.h"
#include "io/Progress.h"
#include "io/ToolError.h"
#include "stream/CodecDetection.h"

#include "videoparams/nal_feeder.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr size_t PieceSize = 1 << 20;

// What the detection of the codec reads at most, and first of a pipe.
constexpr size_t HeadSize = 8 << 20;
constexpr size_t SmallestHead = 16 << 10;

// No real unit comes near to this. A damaged or foreign file must not fill the memory.
constexpr size_t LargestUnit = 256 << 20;

class CAnnexBSink : public CUnitSink
{
public:
    explicit CAnnexBSink(const std::string& path) : output(path) {}

    void Write(const std::shared_ptr<const Sample>&, const unsigned char* unit, size_t size) override
    {
        output.Write(unit, size);
    }
    void WriteOther(const std::shared_ptr<const Sample>&, const unsigned char* bytes, size_t size) override
    {
        output.Write(bytes, size);
    }
    void MarkKey(const std::shared_ptr<const Sample>&, bool) override {}
    void Commit() override { output.Commit(); }
    bool IsStandardOutput() const override { return output.IsStandardOutput(); }

private:
    COutputFile output;
};

}  // namespace

CAnnexBSource::CAnnexBSource(std::unique_ptr<CInputFile> file, const SourceOptions& options)
    : input(std::move(file))
{
    facts.name = input->Name();
    if (input->Peek(1).empty())
        throw CToolError(fmt::format("{}: the file is empty", Name()));
    facts.codec = options.codec ? *options.codec : DetectCodecOfHead();
}

// A pipe may be slow: no more is read than the detection takes.
VideoCodecType CAnnexBSource::DetectCodecOfHead()
{
    for (size_t size = input->IsRegular() ? HeadSize : SmallestHead;; size *= 4) {
        const std::vector<unsigned char>& head = input->Peek(size);
        if (const std::optional<VideoCodecType> codec = DetectCodec(head.data(), head.size()))
            return *codec;
        if (size >= HeadSize || head.size() < size)
            break;
    }
    throw CToolError(
        fmt::format("{}: there is no H.264 or H.265 video in it (if it is a byte stream, give its codec: "
                    "--codec h264 or --codec h265)",
                    Name()));
}

std::unique_ptr<CUnitSink> CAnnexBSource::OpenSink(const std::string& path)
{
    return std::make_unique<CAnnexBSink>(path);
}

void CAnnexBSource::PrintsLines()
{
    showsProgress = !isatty(STDOUT_FILENO);
}

void CAnnexBSource::ForEach(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped)
{
    CNalFeeder feeder(CNalFeeder::ShortUnits::Separate, LargestUnit);
    CProgress progress(showsProgress, input->Size());
    bool isLeading = true;
    const auto takeFed = [&](const unsigned char* data, unsigned int size) {
        isLeading = false;
        takeUnit(NalUnit{Codec(), data, size, feeder.Offset(), counts.units++});
    };
    const auto takeOther = [&](const unsigned char* data, size_t size) {
        const bool isZero = std::all_of(data, data + size, [](unsigned char byte) { return byte == 0; });
        isLeading = isLeading && isZero;
        if (!isLeading)
            counts.skippedBytes += size;
        if (takeSkipped)
            takeSkipped(nullptr, data, size);
    };
    std::vector<unsigned char> piece(PieceSize);
    while (const size_t size = input->Read(piece.data(), piece.size())) {
        counts.bytes += size;
        feeder.Feed(piece.data(), size, takeFed, takeOther);
        progress.Update(counts.bytes);
    }
    feeder.Finish(takeFed, takeOther);
}

}  // namespace tool
