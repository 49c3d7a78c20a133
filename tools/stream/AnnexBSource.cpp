#include "stream/AnnexBSource.h"

#include "io/Progress.h"
#include "io/ToolError.h"
#include "stream/Detection.h"

#include "videoparams/nal_feeder.hpp"

#include <algorithm>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr size_t PieceSize = 1 << 20;

// What the detection of the codec reads at most, and first of a pipe.
constexpr size_t HeadSize = 8 << 20;
constexpr size_t SmallestHead = 16 << 10;

// No real unit comes near to this. A damaged or foreign file must not fill the memory.
constexpr size_t LargestUnit = 256 << 20;

// The feeder, like the library, counts no start code with less than five bytes from its first zero on. A unit
// of a header byte alone, such as an end of sequence (00 00 01 0A), is then the end of the last unit.
unsigned int ShortUnitAtEnd(const unsigned char* data, unsigned int size)
{
    constexpr unsigned int ShortSize = 4;
    if (size < 2 * ShortSize)
        return 0;
    const unsigned char* const unit = data + size - ShortSize;
    return unit[0] == 0 && unit[1] == 0 && unit[2] == 1 ? ShortSize : 0;
}

class CAnnexBSink : public CUnitSink
{
public:
    explicit CAnnexBSink(const OutputRequest& request) : output(request) {}

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
    facts.codec = ChooseCodec(options.codec);
}

// A pipe may be slow: no more is read than the detection takes.
CodecRating CAnnexBSource::RateHead()
{
    for (size_t size = input->IsRegular() ? HeadSize : SmallestHead;; size *= 4) {
        const std::vector<unsigned char>& head = input->Peek(size);
        const CodecRating rating = RateCodecs(head.data(), head.size());
        if (rating.Best() || size >= HeadSize || head.size() < size)
            return rating;
    }
}

VideoCodecType CAnnexBSource::ChooseCodec(std::optional<VideoCodecType> given)
{
    const CodecRating rating = RateHead();
    const std::optional<VideoCodecType> found = rating.Best();
    if (!given && !found)
        throw CToolError(
            fmt::format("{}: there is no H.264 or H.265 video in it (if it is a byte stream, give its codec: "
                        "--codec h264 or --codec h265)",
                        Name()));
    if (given && found && *found != *given && rating.Of(*given) <= 0)
        throw CToolError(fmt::format("{}: this is an {} byte stream, but --codec says {}", Name(),
                                     CodecName(*found), CodecName(*given)));
    return given ? *given : *found;
}

std::unique_ptr<CUnitSink> CAnnexBSource::MakeSink(OutputRequest request)
{
    request.kind = {"an H.264 or H.265 byte stream", LooksLikeByteStream};
    request.editedInput = input->Path();
    request.inputs.push_back(input->Path());
    return std::make_unique<CAnnexBSink>(request);
}

void CAnnexBSource::ReadUnits(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped)
{
    CNalFeeder feeder(CNalFeeder::ShortUnits::Separate, LargestUnit);
    CProgress progress(showsProgress, input->Size());
    bool isLeading = true;
    const auto takeOne = [&](const unsigned char* data, unsigned int size, uint64_t offset) {
        isLeading = false;
        takeUnit(NalUnit{Codec(), data, size, offset, counts.units++});
    };
    const auto takeFed = [&](const unsigned char* data, unsigned int size) {
        takeOne(data, size, feeder.Offset());
    };
    const auto takeLast = [&](const unsigned char* data, unsigned int size) {
        const unsigned int shortSize = ShortUnitAtEnd(data, size);
        takeOne(data, size - shortSize, feeder.Offset());
        if (shortSize != 0)
            takeOne(data + size - shortSize, shortSize, feeder.Offset() + size - shortSize);
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
    feeder.Finish(takeLast, takeOther);
}

}  // namespace tool
