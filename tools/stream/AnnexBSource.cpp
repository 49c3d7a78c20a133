#include "stream/AnnexBSource.h"

#include "io/Progress.h"
#include "io/ToolError.h"
#include "stream/Detection.h"
#include "stream/UnitCutter.h"

#include <fmt/format.h>

namespace tool {

namespace {

constexpr size_t PieceSize = 1 << 20;

// What the detection of the codec reads at most, and first of a pipe.
constexpr size_t HeadSize = 8 << 20;
constexpr size_t SmallestHead = 16 << 10;

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
    CUnitCutter::TakeSkipped takeOther;
    if (takeSkipped)
        takeOther = [&](const unsigned char* data, size_t size) { takeSkipped(nullptr, data, size); };
    CUnitCutter cutter(Codec(), takeUnit, takeOther);
    CProgress progress(showsProgress, input->Size());
    std::vector<unsigned char> piece(PieceSize);
    while (const size_t size = input->Read(piece.data(), piece.size())) {
        counts.bytes += size;
        cutter.Take(piece.data(), size);
        progress.Update(counts.bytes);
    }
    cutter.Finish();
    counts.units = cutter.UnitCount();
    counts.skippedBytes = cutter.SkippedBytes();
}

}  // namespace tool
