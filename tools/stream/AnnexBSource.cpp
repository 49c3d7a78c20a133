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
constexpr size_t HeadSize = 8 << 20;

// No real unit comes near to this. A damaged or foreign file must not fill the memory.
constexpr size_t LargestUnit = 256 << 20;

class CAnnexBSink : public CUnitSink
{
public:
    explicit CAnnexBSink(const std::string& path) : output(path) {}

    void Write(const std::shared_ptr<const Sample>&, const unsigned char* units, size_t size) override
    {
        output.Write(units, size);
    }
    void Commit() override { output.Commit(); }
    bool IsStandardOutput() const override { return output.IsStandardOutput(); }

private:
    COutputFile output;
};

}  // namespace

CAnnexBSource::CAnnexBSource(const SourceOptions& options) : input(options.file)
{
    facts.name = input.Name();
    ReadHead();
    if (head.empty())
        throw CToolError(fmt::format("{}: the file is empty", Name()));
    facts.codec = options.codec ? *options.codec : DetectCodecOfHead();
}

void CAnnexBSource::ReadHead()
{
    head.resize(HeadSize);
    head.resize(input.Read(head.data(), head.size()));
}

VideoCodecType CAnnexBSource::DetectCodecOfHead() const
{
    const std::string container = DetectContainer(head.data(), head.size());
    if (!container.empty())
        throw CToolError(fmt::format(
            "{}: this looks like {}, not like a plain H.264 or H.265 byte stream; take the stream "
            "out of it first (or say --codec)",
            Name(), container));
    const std::optional<VideoCodecType> told = DetectCodec(head.data(), head.size());
    if (!told)
        throw CToolError(fmt::format(
            "{}: no H.264 or H.265 byte stream is to be found in it (if it is one, say --codec)", Name()));
    return *told;
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
    CProgress progress(showsProgress, input.Size());
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
            takeSkipped(data, size);
    };
    std::vector<unsigned char> piece = std::move(head);
    while (!piece.empty()) {
        counts.bytes += piece.size();
        feeder.Feed(piece.data(), piece.size(), takeFed, takeOther);
        progress.Update(counts.bytes);
        piece.resize(PieceSize);
        piece.resize(input.Read(piece.data(), piece.size()));
    }
    feeder.Finish(takeFed, takeOther);
}

}  // namespace tool
