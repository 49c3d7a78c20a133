#include "stream/container/OutputFormat.h"

#include "io/ToolError.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <new>
#include <string_view>

namespace tool {

namespace {

bool IsMov(const AVInputFormat& format)
{
    return std::string_view(format.name).starts_with("mov");
}

std::string MajorBrand(const AVFormatContext& from)
{
    const AVDictionaryEntry* const brand = av_dict_get(from.metadata, "major_brand", nullptr, 0);
    return brand == nullptr ? "" : brand->value;
}

// The name of the muxer; the demuxer of the MP4 family reads several.
std::string MuxerName(const AVFormatContext& from)
{
    const std::string_view name = from.iformat->name;
    if (IsMov(*from.iformat)) {
        const std::string brand = MajorBrand(from);
        if (brand == "qt  " || brand.empty())
            return "mov";
        return brand.starts_with("3gp") ? "3gp" : brand.starts_with("3g2") ? "3g2" : "mp4";
    }
    if (name == "mpeg")
        return "vob";
    return std::string(name.substr(0, name.find(',')));
}

constexpr int ProgramStream = 2;

// Muxers that write files of one kind under several names.
int KindOf(std::string_view muxer)
{
    static constexpr std::string_view Kinds[] = {" mp4 mov ipod 3gp 3g2 psp f4v ismv m4v ", " matroska webm ",
                                                 " mpeg vob dvd svcd vcd mpeg2video "};
    for (int i = 0; i < 3; ++i) {
        if (Kinds[i].find(fmt::format(" {} ", muxer)) != std::string_view::npos)
            return i;
    }
    return -1;
}

void CheckName(const CContainerInput& input, const std::string& muxer, const std::string& path)
{
    const AVOutputFormat* const named = av_guess_format(nullptr, path.c_str(), nullptr);
    if (named == nullptr || muxer == named->name ||
        (KindOf(muxer) >= 0 && KindOf(muxer) == KindOf(named->name)))
        return;
    throw CToolError(
        fmt::format("{}: the name is that of another container than the one of {} ({}), which is kept; "
                    "give a name that fits",
                    path, input.Name(), input.Context().iformat->long_name));
}

bool HasKeyedMetadata(const AVFormatContext& from)
{
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(from.metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        if (std::string_view(entry->key).starts_with("com."))
            return true;
    }
    return false;
}

void AddMovOptions(CContainerInput& input, OutputFormat& output)
{
    const AVFormatContext& from = input.Context();
    const MovLayout layout = input.ReadLayout();
    std::string flags;
    if (layout.isFragmented)
        flags += "+frag_keyframe+empty_moov+default_base_moof";
    else if (layout.indexComesFirst)
        flags += "+faststart";
    if (HasKeyedMetadata(from))
        flags += "+use_metadata_tags";
    if (!flags.empty())
        output.options.emplace_back("movflags", flags);
    if (const std::string brand = MajorBrand(from); brand.size() == 4)
        output.options.emplace_back("brand", brand);
    for (unsigned int i = 0; i < from.nb_streams; ++i) {
        if (from.streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            output.options.emplace_back("video_track_timescale",
                                        std::to_string(from.streams[i]->time_base.den));
            break;
        }
    }
}

}  // namespace

AVDictionary* OutputFormat::Options() const
{
    AVDictionary* dictionary = nullptr;
    for (const auto& [name, value] : options) {
        if (av_dict_set(&dictionary, name.c_str(), value.c_str(), 0) < 0) {
            av_dict_free(&dictionary);
            throw std::bad_alloc();
        }
    }
    return dictionary;
}

OutputFormat ChooseOutputFormat(CContainerInput& input, const std::string& path)
{
    const AVFormatContext& from = input.Context();
    const std::string muxer = MuxerName(from);
    OutputFormat output;
    output.format = av_guess_format(muxer.c_str(), nullptr, nullptr);
    if (output.format == nullptr || (output.format->flags & AVFMT_NOFILE) != 0)
        throw CToolError(fmt::format("{}: libavformat reads this container ({}), but cannot write it",
                                     input.Name(), from.iformat->long_name));
    if (KindOf(muxer) == ProgramStream)
        throw CToolError(fmt::format("{}: this is {}, which records the times of some pictures only: a copy "
                                     "cannot keep them; convert it first, for example to MPEG-TS",
                                     input.Name(), from.iformat->long_name));
    CheckName(input, muxer, path);
    if (IsMov(*from.iformat))
        AddMovOptions(input, output);
    if (muxer == "mpegts")
        output.options.emplace_back("mpegts_copyts", "1");
    if (muxer == "matroska")
        output.options.emplace_back("default_mode", "passthrough");
    return output;
}

bool IsMadeByMuxer(const AVFormatContext& from, const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    if (!IsMov(*from.iformat) || parameters.codec_type != AVMEDIA_TYPE_DATA)
        return false;
    const bool isChapters = from.nb_chapters != 0 && parameters.codec_tag == MKTAG('t', 'e', 'x', 't');
    const bool isTimecode = parameters.codec_tag == MKTAG('t', 'm', 'c', 'd');
    return isChapters || isTimecode;
}

bool TakesTag(const AVOutputFormat& format, const AVCodecParameters& parameters)
{
    return format.codec_tag == nullptr ||
           av_codec_get_id(format.codec_tag, parameters.codec_tag) == parameters.codec_id ||
           av_codec_get_tag(format.codec_tag, parameters.codec_id) == 0;
}

}  // namespace tool
