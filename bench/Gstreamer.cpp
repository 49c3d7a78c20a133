// GStreamer's codecparsers on the same access units.

#include "Measure.h"

#if defined(HAVE_GST_CODECPARSERS)

#define GST_USE_UNSTABLE_API
#include <gst/codecparsers/gsth264parser.h>
#include <gst/codecparsers/gsth265parser.h>
#include <gst/gst.h>

#include <cstring>

namespace bench {

namespace {

const guint8 userData[] = "2024-05-17T12:34:56.789Z camera 7";
constexpr guint8 CountryCode = 0xFF;  // with an extension byte: itu_t_t35_country_code

// The two parsers have the same functions under two names.
struct Avc
{
    using Parser = GstH264NalParser;
    using Unit = GstH264NalUnit;

    static Parser* Create() { return gst_h264_nal_parser_new(); }
    static void Free(Parser* parser) { gst_h264_nal_parser_free(parser); }

    static bool Identify(Parser* parser, const AccessUnit& accessUnit, guint offset, Unit& unit)
    {
        const auto result =
            gst_h264_parser_identify_nalu(parser, accessUnit.data, offset, accessUnit.size, &unit);
        return result == GST_H264_PARSER_OK || result == GST_H264_PARSER_NO_NAL_END;
    }

    static bool ParseHeaders(Parser* parser, Unit& unit)
    {
        if (unit.type == GST_H264_NAL_SLICE || unit.type == GST_H264_NAL_SLICE_IDR) {
            GstH264SliceHdr header;
            return gst_h264_parser_parse_slice_hdr(parser, &unit, &header, FALSE, FALSE) ==
                   GST_H264_PARSER_OK;
        }
        return gst_h264_parser_parse_nal(parser, &unit) == GST_H264_PARSER_OK;
    }

    static GstMemory* MakeSei()
    {
        GstH264SEIMessage message;
        std::memset(&message, 0, sizeof message);
        message.payloadType = GST_H264_SEI_REGISTERED_USER_DATA;
        SetUserData(message.payload.registered_user_data);
        GArray* const messages = g_array_new(FALSE, FALSE, sizeof message);
        g_array_append_val(messages, message);
        GstMemory* const sei = gst_h264_create_sei_memory(4, messages);
        g_array_unref(messages);
        return sei;
    }

    static GstBuffer* Insert(Parser* parser, GstBuffer* accessUnit, GstMemory* sei)
    {
        return gst_h264_parser_insert_sei(parser, accessUnit, sei);
    }

    template <typename UserData>
    static void SetUserData(UserData& destination)
    {
        destination.country_code = CountryCode;
        destination.data = userData;
        destination.size = sizeof userData;
    }
};

struct Hevc
{
    using Parser = GstH265Parser;
    using Unit = GstH265NalUnit;

    static Parser* Create() { return gst_h265_parser_new(); }
    static void Free(Parser* parser) { gst_h265_parser_free(parser); }

    static bool Identify(Parser* parser, const AccessUnit& accessUnit, guint offset, Unit& unit)
    {
        const auto result =
            gst_h265_parser_identify_nalu(parser, accessUnit.data, offset, accessUnit.size, &unit);
        return result == GST_H265_PARSER_OK || result == GST_H265_PARSER_NO_NAL_END;
    }

    static bool ParseHeaders(Parser* parser, Unit& unit)
    {
        if (unit.type > GST_H265_NAL_SLICE_CRA_NUT)
            return gst_h265_parser_parse_nal(parser, &unit) == GST_H265_PARSER_OK;
        GstH265SliceHdr header;
        const bool ok = gst_h265_parser_parse_slice_hdr(parser, &unit, &header) == GST_H265_PARSER_OK;
        gst_h265_slice_hdr_free(&header);
        return ok;
    }

    static GstMemory* MakeSei()
    {
        GstH265SEIMessage message;
        std::memset(&message, 0, sizeof message);
        message.payloadType = GST_H265_SEI_REGISTERED_USER_DATA;
        Avc::SetUserData(message.payload.registered_user_data);
        GArray* const messages = g_array_new(FALSE, FALSE, sizeof message);
        g_array_append_val(messages, message);
        GstMemory* const sei = gst_h265_create_sei_memory(0, 1, 4, messages);
        g_array_unref(messages);
        return sei;
    }

    static GstBuffer* Insert(Parser* parser, GstBuffer* accessUnit, GstMemory* sei)
    {
        return gst_h265_parser_insert_sei(parser, accessUnit, sei);
    }
};

template <typename Codec>
void MeasureUnits(benchmark::State& state, const Stream& stream, bool parseHeaders)
{
    typename Codec::Parser* const parser = Codec::Create();
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        bool ok = true;
        for (const AccessUnit& accessUnit : stream.accessUnits) {
            guint offset = 0;
            while (offset < accessUnit.size && ok) {
                typename Codec::Unit unit;
                ok = Codec::Identify(parser, accessUnit, offset, unit) &&
                     (!parseHeaders || Codec::ParseHeaders(parser, unit));
                offset = unit.offset + unit.size;
            }
        }
        return ok;
    });
    Codec::Free(parser);
}

// An edited buffer has the inserted bytes and references to the bytes of the stream. Mapping it copies both
// into one piece.
bool ReadInOnePiece(GstBuffer* buffer)
{
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ))
        return false;
    benchmark::DoNotOptimize(map.data);
    gst_buffer_unmap(buffer, &map);
    return true;
}

template <typename Codec>
void MeasureInsertion(benchmark::State& state, const Stream& stream, bool inOnePiece)
{
    typename Codec::Parser* const parser = Codec::Create();
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        bool ok = true;
        for (const AccessUnit& unit : stream.accessUnits) {
            GstBuffer* const buffer = gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, unit.data,
                                                                  unit.size, 0, unit.size, nullptr, nullptr);
            GstMemory* const sei = Codec::MakeSei();
            GstBuffer* const edited = Codec::Insert(parser, buffer, sei);
            ok = ok && edited != nullptr && gst_buffer_get_size(edited) > unit.size &&
                 (!inOnePiece || ReadInOnePiece(edited));
            if (edited != nullptr)
                gst_buffer_unref(edited);
            gst_memory_unref(sei);
            gst_buffer_unref(buffer);
        }
        return ok;
    });
    Codec::Free(parser);
}

template <typename Codec>
void RegisterAll(const StreamKey& key)
{
    const auto units = [](bool parseHeaders) {
        return [=](benchmark::State& state, const StreamKey&, const Stream& stream) {
            MeasureUnits<Codec>(state, stream, parseHeaders);
        };
    };
    Register(key, "GStreamer identify", units(false));
    Register(key, "GStreamer identify and parse", units(true));
    const auto insertion = [](bool inOnePiece) {
        return [=](benchmark::State& state, const StreamKey&, const Stream& stream) {
            MeasureInsertion<Codec>(state, stream, inOnePiece);
        };
    };
    Register(key, "GStreamer insert SEI", insertion(false));
    Register(key, "GStreamer insert SEI, in one piece", insertion(true));
}

}  // namespace

void RegisterGstreamer(const StreamKey& key)
{
    gst_init(nullptr, nullptr);
    if (key.codec == VideoCodecAVC)
        RegisterAll<Avc>(key);
    else
        RegisterAll<Hevc>(key);
}

}  // namespace bench

#else

void bench::RegisterGstreamer(const StreamKey&) {}

#endif
