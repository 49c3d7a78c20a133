// libavcodec's parsers and bitstream filters on the same access units.

#include "Measure.h"

#if defined(HAVE_LIBAVCODEC)

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
}

#include <algorithm>
#include <vector>

namespace bench {

namespace {

AVCodecID CodecId(const StreamKey& key)
{
    return key.codec == VideoCodecAVC ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC;
}

enum class Feed
{
    AccessUnits,
    CompleteFrames,  // a flag makes the parser expect one access unit per call: it neither searches nor
                     // copies
    Pieces,          // 64 KB at a time, as demuxers read: it copies only what a piece cuts in two
};

std::vector<AccessUnit> Pieces(const Stream& stream)
{
    constexpr size_t PieceSize = 65536;
    std::vector<AccessUnit> pieces;
    for (size_t at = 0; at < stream.size; at += PieceSize) {
        const size_t size = std::min(PieceSize, stream.size - at);
        pieces.push_back({stream.bytes.get() + at, static_cast<unsigned int>(size)});
    }
    return pieces;
}

void MeasureParser(benchmark::State& state, const StreamKey& key, const Stream& stream, Feed feed)
{
    const std::vector<AccessUnit> fed = feed == Feed::Pieces ? Pieces(stream) : stream.accessUnits;
    AVCodecParserContext* const parser = av_parser_init(CodecId(key));
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(CodecId(key)));
    if (feed == Feed::CompleteFrames)
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        size_t frames = 0;
        for (const AccessUnit& unit : fed) {
            const uint8_t* position = unit.data;
            int bytesLeft = static_cast<int>(unit.size);
            while (bytesLeft > 0) {
                uint8_t* frame = nullptr;
                int frameSize = 0;
                const int used = av_parser_parse2(parser, context, &frame, &frameSize, position, bytesLeft,
                                                  AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
                position += used;
                bytesLeft -= used;
                frames += frameSize != 0;
            }
        }
        return frames + 1 >= stream.accessUnits.size();
    });
    avcodec_free_context(&context);
    av_parser_close(parser);
}

void KeepBytes(void* /*opaque*/, uint8_t* /*data*/) {}

// Packets refer to the bytes of the stream, so the filter does not need to copy them first.
bool FilterUnit(AVBSFContext* filter, AVPacket* packet, const AccessUnit& unit)
{
    packet->buf = av_buffer_create(unit.data, unit.size + AV_INPUT_BUFFER_PADDING_SIZE, KeepBytes, nullptr,
                                   AV_BUFFER_FLAG_READONLY);
    packet->data = unit.data;
    packet->size = static_cast<int>(unit.size);
    if (av_bsf_send_packet(filter, packet) < 0 || av_bsf_receive_packet(filter, packet) < 0)
        return false;
    const bool ok = packet->size > 0;
    av_packet_unref(packet);
    return ok;
}

void MeasureFilter(benchmark::State& state, const StreamKey& key, const Stream& stream,
                   const char* filterAndOptions)
{
    AVBSFContext* filter = nullptr;
    if (av_bsf_list_parse_str(filterAndOptions, &filter) < 0) {
        state.SkipWithError("this build of libavcodec does not have the filter");
        return;
    }
    filter->par_in->codec_type = AVMEDIA_TYPE_VIDEO;
    filter->par_in->codec_id = CodecId(key);
    filter->time_base_in = {1, 25};
    if (av_bsf_init(filter) < 0) {
        state.SkipWithError("av_bsf_init");
    } else {
        AVPacket* packet = av_packet_alloc();
        Measure(state, stream.size, stream.accessUnits.size(), [&] {
            bool ok = true;
            for (const AccessUnit& unit : stream.accessUnits)
                ok = FilterUnit(filter, packet, unit) && ok;
            return ok;
        });
        av_packet_free(&packet);
    }
    av_bsf_free(&filter);
}

}  // namespace

void RegisterLibavcodec(const StreamKey& key)
{
    av_log_set_level(AV_LOG_QUIET);
    const auto parser = [](Feed feed) {
        return [=](benchmark::State& state, const StreamKey& k, const Stream& stream) {
            MeasureParser(state, k, stream, feed);
        };
    };
    const auto filter = [](const char* filterAndOptions) {
        return [=](benchmark::State& state, const StreamKey& k, const Stream& stream) {
            MeasureFilter(state, k, stream, filterAndOptions);
        };
    };
    Register(key, "libavcodec parser", parser(Feed::AccessUnits));
    Register(key, "libavcodec parser, 64 KB at a time", parser(Feed::Pieces));
    Register(key, "libavcodec parser, complete frames", parser(Feed::CompleteFrames));
    if (key.codec == VideoCodecAVC) {
        Register(key, "libavcodec h264_metadata",
                 filter("h264_metadata=sei_user_data=99aed31b-b894-4b97-ad39-fb4ed5902ba1+"
                        "2024-05-17T12.34.56.789Z camera 7"));
        Register(key, "libavcodec filter_units", filter("filter_units=remove_types=6"));
    } else {
        // This filter does not insert user data. Inserting a delimiter takes the same steps.
        Register(key, "libavcodec hevc_metadata", filter("hevc_metadata=aud=insert"));
        Register(key, "libavcodec filter_units", filter("filter_units=remove_types=39"));
    }
}

}  // namespace bench

#else

void bench::RegisterLibavcodec(const StreamKey&) {}

#endif
