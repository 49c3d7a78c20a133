#include "stream/container/ContainerSource.h"

#include "io/Progress.h"
#include "io/ToolError.h"
#include "stream/Detection.h"

#include <fmt/format.h>

extern "C" {
#include <libavutil/display.h>
}

namespace tool {

namespace {

// Four letters. MPEG-TS has a small number, the type of the stream, in their place.
std::string TagOf(const AVStream& stream)
{
    char text[AV_FOURCC_MAX_STRING_SIZE] = "";
    if (stream.codecpar->codec_tag >> 24 >= ' ')
        av_fourcc_make_string(text, stream.codecpar->codec_tag);
    return text;
}

std::optional<double> Seconds(int64_t time, AVRational base)
{
    if (time == AV_NOPTS_VALUE)
        return std::nullopt;
    return static_cast<double>(time) * av_q2d(base);
}

std::optional<int64_t> TimeOf(int64_t time)
{
    return time == AV_NOPTS_VALUE ? std::nullopt : std::optional<int64_t>(time);
}

// The matrix turns anticlockwise.
int32_t RotationOf(const AVStream& stream)
{
    size_t size = 0;
    const uint8_t* const matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (matrix == nullptr || size < 9 * sizeof(int32_t))
        return 0;
    const double angle = -av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
    return angle >= -360 && angle <= 360 ? (static_cast<int32_t>(angle) + 360) % 360 : 0;
}

}  // namespace

CContainerSource::CContainerSource(std::unique_ptr<CContainerInput> opened, const SourceOptions& options)
    : input(std::move(opened)), video(input->ChooseVideo(options.stream))
{
    facts.name = input->Name();
    facts.codec = video.codecpar->codec_id == AV_CODEC_ID_H264 ? VideoCodecAVC : VideoCodecHEVC;
    if (options.codec && *options.codec != facts.codec)
        throw CToolError(fmt::format("{}: stream {} is {}; leave --codec out", Name(), video.index,
                                     CodecName(facts.codec)));
    facts.format = input->Context().iformat->long_name;
    facts.timeBase = {video.time_base.num, video.time_base.den};
    DescribeContainer();
}

void CContainerSource::DescribeContainer()
{
    const AVFormatContext& context = input->Context();
    const AVCodecParameters& parameters = *video.codecpar;
    SampleForm form;
    if (parameters.extradata_size > 0)
        form =
            ReadSampleForm(facts.codec, parameters.extradata, static_cast<size_t>(parameters.extradata_size));
    lengthSize = form.lengthSize;
    if (lengthSize == 0 && !input->RecordsDescription(video))
        form.parameterSets.clear();

    ContainerFacts container;
    container.format = facts.format;
    container.streamCount = context.nb_streams;
    container.stream = static_cast<uint32_t>(video.index);
    container.codecTag = TagOf(video);
    const auto [width, height] = input->RecordedSize(video);
    container.width = static_cast<uint32_t>(std::max(width, 0));
    container.height = static_cast<uint32_t>(std::max(height, 0));
    if (video.avg_frame_rate.num > 0 && video.avg_frame_rate.den > 0) {
        container.frameRateNumerator = static_cast<uint32_t>(video.avg_frame_rate.num);
        container.frameRateDenominator = static_cast<uint32_t>(video.avg_frame_rate.den);
    }
    container.rotation = RotationOf(video);
    if (const AVDictionaryEntry* const language = av_dict_get(video.metadata, "language", nullptr, 0))
        container.language = language->value;
    container.startSeconds = Seconds(video.start_time, video.time_base);
    if (input->KnowsDuration())
        container.durationSeconds = Seconds(video.duration, video.time_base);
    if (input->KnowsDuration() && !container.durationSeconds)
        container.durationSeconds = Seconds(context.duration, AV_TIME_BASE_Q);
    container.lengthSize = lengthSize;
    container.recordsAllTimes = std::string_view(context.iformat->name) != "mpeg";  // MPEG-PS
    container.marksKeySamples = input->MarksSamples();
    container.parameterSets = std::move(form.parameterSets);
    facts.container = std::move(container);
}

void CContainerSource::ReadUnits(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped)
{
    CProgress progress(showsProgress, input->Size());
    const PacketPointer packet(av_packet_alloc());
    if (!packet)
        throw std::bad_alloc();
    if (sink == nullptr)
        DiscardOtherStreams();
    HandOnDescription(facts.container->parameterSets, takeUnit);
    while (input->Read(*packet)) {
        if (packet->stream_index == video.index)
            TakePacket(*packet, takeUnit, takeSkipped);
        else if (sink != nullptr)
            sink->CopyPacket(*packet);
        av_packet_unref(packet.get());
        progress.Update(std::max(input->BytesRead(), counts.bytes));
    }
    NoteEnd();
}

void CContainerSource::DiscardOtherStreams()
{
    for (unsigned int i = 0; i < input->Context().nb_streams; ++i) {
        AVStream& stream = *input->Context().streams[i];
        if (&stream != &video)
            stream.discard = AVDISCARD_ALL;
    }
}

void CContainerSource::TakePacket(AVPacket& packet, const TakeUnit& takeUnit, const TakeSkipped& takeSkipped)
{
    size_t descriptionSize = 0;
    if (const uint8_t* const description =
            av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &descriptionSize)) {
        const SampleForm form = ReadSampleForm(facts.codec, description, descriptionSize);
        lengthSize = form.lengthSize;
        HandOnDescription(form.parameterSets, takeUnit);
    }
    if (av_packet_make_writable(&packet) < 0)
        throw std::bad_alloc();
    const std::shared_ptr<const Sample> sample = SampleOf(packet);
    if (sink != nullptr)
        sink->BeginSample(sample, packet);
    const size_t size = static_cast<size_t>(packet.size);
    const auto take = [&](const unsigned char* unit, size_t unitSize) {
        takeUnit(
            NalUnit{Codec(), unit, static_cast<uint32_t>(unitSize), streamOffset, counts.units++, sample});
        streamOffset += unitSize;
        counts.bytes += unitSize;
    };
    const size_t rest = cutter.Cut(lengthSize, packet.data, size, take);
    if (rest != 0 && takeSkipped)
        takeSkipped(sample, packet.data + size - rest, rest);
    counts.skippedBytes += rest;
    counts.bytes += rest;
    counts.container.damagedSamples += rest != 0 || (packet.flags & AV_PKT_FLAG_CORRUPT) != 0;
}

void CContainerSource::HandOnDescription(const std::vector<std::vector<unsigned char>>& sets,
                                         const TakeUnit& takeUnit)
{
    for (const std::vector<unsigned char>& set : sets)
        takeUnit(NalUnit{Codec(), set.data(), static_cast<uint32_t>(set.size()), streamOffset, counts.units++,
                         nullptr, true, false});
}

// What is not recorded is that of a frame.
std::optional<int64_t> CContainerSource::DurationOf(const AVPacket& packet) const
{
    if (packet.duration > 0)
        return packet.duration;
    const int64_t duration =
        video.r_frame_rate.num > 0 ? av_rescale_q(1, av_inv_q(video.r_frame_rate), video.time_base) : 0;
    return duration > 0 ? std::optional(duration) : std::nullopt;
}

std::shared_ptr<const Sample> CContainerSource::SampleOf(const AVPacket& packet)
{
    auto sample = std::make_shared<Sample>();
    sample->number = counts.container.samples++;
    if (packet.pos >= 0)
        sample->offset = static_cast<uint64_t>(packet.pos);
    sample->size = static_cast<uint64_t>(packet.size);
    sample->pts = TimeOf(packet.pts);
    sample->dts = TimeOf(packet.dts);
    sample->duration = DurationOf(packet);
    sample->isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    return sample;
}

// An index lists the samples that there should be.
void CContainerSource::NoteEnd()
{
    if (CInterrupt::IsRequested())
        return;
    ContainerEnd& end = counts.container;
    end.error = input->Error();
    end.cut = input->DescribeCut();
    const int indexed = avformat_index_get_entries_count(&video);
    if (input->IndexIsComplete() && indexed > 0 && static_cast<uint64_t>(indexed) > end.samples)
        end.missingSamples = static_cast<uint64_t>(indexed) - end.samples;
}

std::unique_ptr<CUnitSink> CContainerSource::MakeSink(OutputRequest request)
{
    request.kind = {"a video file", LooksLikeVideoFile};
    request.editedInput = Name() == "standard input" ? "-" : Name();
    request.inputs.push_back(request.editedInput);
    auto made = std::make_unique<CContainerSink>(*input, lengthSize, request);
    sink = made.get();
    return made;
}

}  // namespace tool
