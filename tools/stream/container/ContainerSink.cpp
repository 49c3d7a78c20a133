#include "stream/container/ContainerSink.h"

#include "io/ToolError.h"
#include "stream/container/OutputFormat.h"

#include <fmt/format.h>
#include <new>

namespace tool {

namespace {

void CheckMemory(bool isThere)
{
    if (!isThere)
        throw std::bad_alloc();
}

// AVI counts samples of constant size, or frames of any size. With a block size, its muxer takes frames for
// the former.
void CountAudioFrames(AVCodecParameters& audio, AVRational ticks)
{
    const int64_t samples = av_rescale(audio.sample_rate, ticks.num, ticks.den);
    if (audio.codec_type != AVMEDIA_TYPE_AUDIO || samples <= 1 || samples > UINT16_MAX)
        return;
    audio.frame_size = static_cast<int>(samples);
    audio.block_align = 0;
}

}  // namespace

CContainerSink::CContainerSink(CContainerInput& source, uint32_t bytesOfLength, const OutputRequest& request)
    : input(source), lengthSize(bytesOfLength), output(request)
{
    const OutputFormat format = ChooseOutputFormat(input, request.path);
    if (output.TemporaryPath().empty())
        throw CToolError(
            fmt::format("{}: a container can be written to a regular file only; give its name with -o",
                        request.path == "-" ? "standard output" : request.path));
    AVFormatContext* made = nullptr;
    CheckMemory(avformat_alloc_output_context2(&made, format.format, nullptr, nullptr) >= 0);
    context.reset(made);
    context->url = av_strdup(("file:" + output.TemporaryPath()).c_str());
    CheckMemory(context->url != nullptr);
    if (std::string_view(made->oformat->name) != "mxf")  // that one needs a new identifier
        context->flags |= AVFMT_FLAG_BITEXACT;           // no new name of a writing program
    context->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    context->strict_std_compliance = -2;  // experimental: what is in the input may be written
    context->max_delay = 0;
    MakeStreams();
    AVIOContext* opened = nullptr;
    const int code = avio_open2(&opened, context->url, AVIO_FLAG_WRITE, nullptr, nullptr);
    if (code < 0)
        Fail("a copy cannot be written", code);
    file.reset(opened);
    context->pb = opened;
    AVDictionary* options = format.Options();
    const int written = avformat_write_header(context.get(), &options);
    av_dict_free(&options);
    if (written < 0)
        Fail("a copy of its streams cannot be written", written);
}

void CContainerSink::MakeStreams()
{
    const AVFormatContext& from = input.Context();
    for (unsigned int i = 0; i < from.nb_streams; ++i) {
        const bool isCopied = !IsMadeByMuxer(from, *from.streams[i]);
        outputIndexes.push_back(isCopied ? static_cast<int>(context->nb_streams) : -1);
        if (isCopied)
            CopyStream(*from.streams[i]);
    }
    CheckMemory(av_dict_copy(&context->metadata, from.metadata, 0) >= 0);
    // The MP4 muxer takes the name of the writing program from another key than the demuxer stores it in.
    const AVDictionaryEntry* const encoder = av_dict_get(from.metadata, "encoder", nullptr, 0);
    if (encoder != nullptr && std::string_view(from.iformat->name).starts_with("mov"))
        CheckMemory(
            av_dict_set(&context->metadata, "encoding_tool", encoder->value, AV_DICT_DONT_OVERWRITE) >= 0);
    CopyPrograms();
    CopyChapters();
}

void CContainerSink::CopyStream(const AVStream& from)
{
    AVStream* const stream = avformat_new_stream(context.get(), nullptr);
    CheckMemory(stream != nullptr && avcodec_parameters_copy(stream->codecpar, from.codecpar) >= 0 &&
                av_dict_copy(&stream->metadata, from.metadata, 0) >= 0);
    if (!TakesTag(*context->oformat, *from.codecpar))
        stream->codecpar->codec_tag = 0;
    if (std::string_view(context->oformat->name) == "avi")
        CountAudioFrames(*stream->codecpar, from.time_base);
    stream->id = from.id;
    stream->time_base = from.time_base;
    stream->duration = from.duration;
    stream->disposition = from.disposition;
    stream->sample_aspect_ratio = from.sample_aspect_ratio;
    stream->avg_frame_rate = from.avg_frame_rate;
    stream->r_frame_rate = from.r_frame_rate;
    for (int i = 0; i < from.nb_side_data; ++i) {
        const AVPacketSideData& data = from.side_data[i];
        uint8_t* const copy = av_stream_new_side_data(stream, data.type, data.size);
        CheckMemory(copy != nullptr);
        std::copy(data.data, data.data + data.size, copy);
    }
}

void CContainerSink::CopyPrograms()
{
    const AVFormatContext& from = input.Context();
    for (unsigned int i = 0; i < from.nb_programs; ++i) {
        const AVProgram& program = *from.programs[i];
        AVProgram* const copy = av_new_program(context.get(), program.id);
        CheckMemory(copy != nullptr && av_dict_copy(&copy->metadata, program.metadata, 0) >= 0);
        for (unsigned int k = 0; k < program.nb_stream_indexes; ++k) {
            const int index = outputIndexes[program.stream_index[k]];
            if (index >= 0)
                av_program_add_stream_index(context.get(), program.id, static_cast<unsigned int>(index));
        }
    }
}

void CContainerSink::CopyChapters()
{
    const AVFormatContext& from = input.Context();
    if (from.nb_chapters == 0)
        return;
    context->chapters = static_cast<AVChapter**>(av_calloc(from.nb_chapters, sizeof(AVChapter*)));
    CheckMemory(context->chapters != nullptr);
    for (unsigned int i = 0; i < from.nb_chapters; ++i) {
        auto* const chapter = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        CheckMemory(chapter != nullptr);
        context->chapters[context->nb_chapters++] = chapter;
        chapter->id = from.chapters[i]->id;
        chapter->time_base = from.chapters[i]->time_base;
        chapter->start = from.chapters[i]->start;
        chapter->end = from.chapters[i]->end;
        CheckMemory(av_dict_copy(&chapter->metadata, from.chapters[i]->metadata, 0) >= 0);
    }
}

void CContainerSink::BeginSample(const std::shared_ptr<const Sample>& sample, const AVPacket& packet)
{
    if (av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, nullptr) != nullptr)
        throw CToolError(fmt::format(
            "{}: the description of its video changes at sample {}, which libavformat cannot write; "
            "the output was not made",
            input.Name(), sample->number));
    PendingSample& begun = pending.emplace_back();
    begun.sample = sample;
    begun.packet.reset(av_packet_alloc());
    CheckMemory(begun.packet && av_packet_copy_props(begun.packet.get(), &packet) >= 0);
    begun.packet->stream_index = packet.stream_index;
    begun.bytes.reserve(static_cast<size_t>(packet.size));
}

void CContainerSink::Write(const std::shared_ptr<const Sample>& sample, const unsigned char* unit,
                           size_t size)
{
    if (!sample)
        return;  // of the sample description, which is copied as it is
    std::vector<unsigned char>& bytes = Find(sample).bytes;
    if (lengthSize == 0) {
        bytes.insert(bytes.end(), unit, unit + size);
        return;
    }
    const size_t startCodeLength = unit[2] == 1 ? 3 : 4;
    const uint64_t length = size - startCodeLength;
    if (length >> (8 * lengthSize) != 0)
        throw CToolError(fmt::format(
            "{}: the NAL units of this file have length fields of {} byte{}, and a unit would have "
            "{} bytes; add less user data",
            input.Name(), lengthSize, lengthSize == 1 ? "" : "s", length));
    for (uint32_t i = lengthSize; i > 0; --i)
        bytes.push_back(static_cast<unsigned char>(length >> (8 * (i - 1))));
    bytes.insert(bytes.end(), unit + startCodeLength, unit + size);
}

void CContainerSink::WriteOther(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes,
                                size_t size)
{
    std::vector<unsigned char>& target = Find(sample).bytes;
    target.insert(target.end(), bytes, bytes + size);
}

// Samples come in order: what is before this one is finished.
CContainerSink::PendingSample& CContainerSink::Find(const std::shared_ptr<const Sample>& sample)
{
    WriteFinished(sample->number);
    if (pending.empty() || pending.front().sample->number != sample->number)
        throw CToolError(fmt::format("{}: sample {} is out of order", input.Name(), sample->number));
    return pending.front();
}

void CContainerSink::MarkKey(const std::shared_ptr<const Sample>& sample, bool isKey)
{
    int& flags = Find(sample).packet->flags;
    flags = isKey ? flags | AV_PKT_FLAG_KEY : flags & ~AV_PKT_FLAG_KEY;
}

void CContainerSink::WriteFinished(uint64_t firstUnfinished)
{
    for (; !pending.empty() && pending.front().sample->number < firstUnfinished; pending.pop_front()) {
        AVPacket& packet = *pending.front().packet;
        const std::vector<unsigned char>& bytes = pending.front().bytes;
        CheckMemory(av_grow_packet(&packet, static_cast<int>(bytes.size())) >= 0);
        std::copy(bytes.begin(), bytes.end(), packet.data);
        WritePacket(packet);
    }
}

void CContainerSink::CopyPacket(AVPacket& packet)
{
    if (outputIndexes[static_cast<size_t>(packet.stream_index)] >= 0)
        WritePacket(packet);
}

void CContainerSink::WritePacket(AVPacket& packet)
{
    const AVRational from = input.Context().streams[packet.stream_index]->time_base;
    packet.stream_index = outputIndexes[static_cast<size_t>(packet.stream_index)];
    av_packet_rescale_ts(&packet, from, context->streams[packet.stream_index]->time_base);
    packet.pos = -1;
    CheckStep(packet);
    const int code = av_interleaved_write_frame(context.get(), &packet);
    if (code < 0)
        Fail("a copy cannot be written", code);
}

// The MP4 muxer ends the program at a step of time that does not fit into 31 bits.
void CContainerSink::CheckStep(const AVPacket& packet)
{
    if (packet.dts == AV_NOPTS_VALUE || !std::string_view(input.Context().iformat->name).starts_with("mov"))
        return;
    lastTimes.resize(context->nb_streams, AV_NOPTS_VALUE);
    int64_t& last = lastTimes[static_cast<size_t>(packet.stream_index)];
    const uint64_t step = static_cast<uint64_t>(packet.dts) - static_cast<uint64_t>(last);
    if ((last != AV_NOPTS_VALUE && packet.dts > last && step > INT32_MAX) || packet.duration > INT32_MAX)
        throw CToolError(
            fmt::format("{}: the times of stream {} jump from {} to {}, more than a file of this kind can "
                        "record; the output was not made",
                        input.Name(), packet.stream_index, last, packet.dts));
    last = packet.dts;
}

void CContainerSink::Commit()
{
    WriteFinished(UINT64_MAX);
    int code = av_write_trailer(context.get());
    avio_flush(context->pb);
    if (code >= 0)
        code = context->pb->error;
    context->pb = nullptr;
    const int closed = avio_close(file.release());
    if (code < 0 || closed < 0)
        Fail("a copy cannot be written", code < 0 ? code : closed);
    output.Commit();
}

void CContainerSink::Fail(const std::string& what, int code) const
{
    throw CToolError(
        fmt::format("{}: {}: {}; the output was not made", input.Name(), what, input.Describe(code)));
}

}  // namespace tool
