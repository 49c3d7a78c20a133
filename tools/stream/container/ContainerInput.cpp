#include "stream/container/ContainerInput.h"

#include "io/Interrupt.h"
#include "io/ToolError.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <new>

namespace tool {

namespace {

constexpr int IoBufferSize = 256 * 1024;
constexpr size_t SmallestHead = 16 << 10;
constexpr int64_t LiveAnalysis = 2 * AV_TIME_BASE;

// The last complaint of libavformat: it says more than the error code.
std::string lastComplaint;

void NoteComplaint(void*, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_ERROR)
        return;
    char line[256];
    std::vsnprintf(line, sizeof line, format, arguments);
    lastComplaint = line;
    while (!lastComplaint.empty() && (lastComplaint.back() == '\n' || lastComplaint.back() == '.'))
        lastComplaint.pop_back();
}

// libavformat asks again and again while it waits.
int IsInterrupted(void*)
{
    std::fflush(stdout);
    return CInterrupt::IsRequested();
}

// A file must not make the tool open other files or connect to other machines.
int RefuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**)
{
    return AVERROR(EPERM);
}

bool IsSupported(AVCodecID codec)
{
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
}

bool IsMov(const AVInputFormat& format)
{
    return std::string_view(format.name).starts_with("mov");
}

bool IsPlaylist(const AVInputFormat& format)
{
    static constexpr std::string_view Names[] = {"hls", "concat", "sdp", "dash", "imf"};
    return std::find(std::begin(Names), std::end(Names), format.name) != std::end(Names);
}

// Formats that mark key samples. libavformat would parse the packets and replace the marks by what it sees.
bool HasMarks(const AVInputFormat& format)
{
    return IsMov(format) || std::string_view(format.name).starts_with("matroska") ||
           std::string_view(format.name) == "flv";
}

const AVInputFormat* ProbeFormat(const std::vector<unsigned char>& head, int& score)
{
    std::vector<unsigned char> padded = head;
    padded.resize(head.size() + AVPROBE_PADDING_SIZE);
    const AVProbeData probe{"", padded.data(), static_cast<int>(head.size()), nullptr};
    return av_probe_input_format3(&probe, 1, &score);
}

}  // namespace

// A pipe may be slow: no more is read than the detection takes.
const AVInputFormat* DetectContainerFormat(CInputFile& file, size_t headSize)
{
    const AVInputFormat* format = nullptr;
    for (size_t size = file.IsRegular() ? headSize : SmallestHead;; size *= 4) {
        const std::vector<unsigned char>& head = file.Peek(size);
        int score = 0;
        format = ProbeFormat(head, score);
        if (score > AVPROBE_SCORE_EXTENSION || size >= headSize || head.size() < size)
            break;
    }
    const std::string_view name = format == nullptr ? "" : format->name;
    return name == "h264" || name == "hevc" ? nullptr : format;
}

bool IsUrl(const std::string& path)
{
    const std::string scheme = path.substr(0, path.find("://"));
    return !scheme.empty() && scheme.size() < path.size() &&
           std::all_of(scheme.begin(), scheme.end(),
                       [](unsigned char letter) { return std::isalnum(letter); });
}

CContainerInput::CContainerInput(std::unique_ptr<CInputFile> input, const AVInputFormat* format)
    : name(input->Name()), file(std::move(input))
{
    auto* const buffer = static_cast<unsigned char*>(av_malloc(IoBufferSize));
    if (buffer == nullptr)
        throw std::bad_alloc();
    io.reset(avio_alloc_context(buffer, IoBufferSize, 0, this, ReadBytes, nullptr, SeekBytes));
    if (!io) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    if (!file->IsRegular())
        io->seekable = 0;
    Open("", format);
}

CContainerInput::CContainerInput(const std::string& url) : name(url)
{
    avformat_network_init();
    Open(url.c_str(), nullptr);
}

CContainerInput::~CContainerInput() = default;

void CContainerInput::Open(const char* url, const AVInputFormat* format)
{
    av_log_set_callback(NoteComplaint);
    lastComplaint.clear();
    if (io && IsPlaylist(*format))
        throw CToolError(fmt::format("{}: it cannot be opened: this is {}, which names other files or "
                                     "addresses; give one of these",
                                     name, format->long_name));
    AVFormatContext* opened = avformat_alloc_context();
    if (opened == nullptr)
        throw std::bad_alloc();
    opened->interrupt_callback.callback = IsInterrupted;
    if (IsLive())
        opened->max_analyze_duration = LiveAnalysis;  // otherwise up to 90 s
    if (io) {
        opened->pb = io.get();
        opened->io_open = RefuseToOpen;
        opened->protocol_whitelist = av_strdup("none");  // for the demuxers that open by themselves
    }
    int code = avformat_open_input(&opened, url, format, nullptr);  // frees the context if it fails
    if (code < 0 && CInterrupt::IsRequested())
        throw CToolError(fmt::format("{}: ended by Ctrl-C before its headers were read", name));
    if (code < 0)
        throw CToolError(fmt::format("{}: {}it cannot be opened: {}", name,
                                     format == nullptr ? "" : fmt::format("this is {}; ", format->long_name),
                                     Describe(code)));
    context.reset(opened);
    for (unsigned int i = 0; i < opened->nb_streams; ++i) {
        const AVCodecParameters& parameters = *opened->streams[i]->codecpar;
        headers.push_back({parameters.width, parameters.height, parameters.extradata_size > 0});
    }
    if (HasMarks(*opened->iformat))
        opened->flags |= AVFMT_FLAG_NOPARSE;
    code = avformat_find_stream_info(opened, nullptr);
    if (code < 0)
        throw CToolError(fmt::format("{}: its streams cannot be read: {}", name, Describe(code)));
}

std::pair<int, int> CContainerInput::RecordedSize(const AVStream& stream) const
{
    const auto index = static_cast<size_t>(stream.index);
    if (std::string_view(context->iformat->name) == "mxf")
        return {0, 0};  // that is the size before cropping
    return index < headers.size() ? std::pair(headers[index].width, headers[index].height) : std::pair(0, 0);
}

bool CContainerInput::RecordsDescription(const AVStream& stream) const
{
    const auto index = static_cast<size_t>(stream.index);
    return index < headers.size() && headers[index].hasDescription;
}

std::string CContainerInput::Describe(int code) const
{
    if (!readError.empty())
        return readError;
    if (file && !file->IsRegular() && lastComplaint.find("moov atom not found") != std::string::npos)
        return "its index is at the end, which a pipe cannot reach first; give the file itself";
    char text[AV_ERROR_MAX_STRING_SIZE] = "";
    av_strerror(code, text, sizeof text);
    return lastComplaint.empty() ? std::string(text) : fmt::format("{} ({})", text, lastComplaint);
}

AVStream& CContainerInput::ChooseVideo(std::optional<int> index)
{
    const int best =
        av_find_best_stream(context.get(), AVMEDIA_TYPE_VIDEO, index.value_or(-1), -1, nullptr, 0);
    if (best < 0)
        throw CToolError(
            index ? fmt::format("{}: stream {} is not a video stream; {}", name, *index, DescribeVideos())
                  : fmt::format("{}: this is {}, and there is no video in it", name,
                                context->iformat->long_name));
    AVStream& stream = *context->streams[best];
    if (!IsSupported(stream.codecpar->codec_id))
        throw CToolError(fmt::format("{}: this is {}; stream {} is {}; this tool reads H.264 and H.265; {}",
                                     name, context->iformat->long_name, best,
                                     avcodec_get_name(stream.codecpar->codec_id), DescribeVideos()));
    return stream;
}

std::string CContainerInput::DescribeVideos() const
{
    std::string list;
    for (unsigned int i = 0; i < context->nb_streams; ++i) {
        const AVCodecParameters& parameters = *context->streams[i]->codecpar;
        if (parameters.codec_type == AVMEDIA_TYPE_VIDEO)
            list +=
                fmt::format("{} {} ({})", list.empty() ? "" : ",", i, avcodec_get_name(parameters.codec_id));
    }
    return list.empty() ? "there is no video in it" : "its video streams are" + list;
}

bool CContainerInput::Read(AVPacket& packet)
{
    lastComplaint.clear();
    const int code = av_read_frame(context.get(), &packet);
    if (code >= 0)
        return true;
    if (CInterrupt::IsRequested())
        return false;
    if (code != AVERROR_EOF)
        error = Describe(code);
    else if (!readError.empty())
        error = readError;
    return false;
}

MovLayout CContainerInput::ReadLayout()
{
    if (IsLive())
        return {};
    const MovLayout layout = ReadMovLayout(*file);
    file->Seek(position);
    return layout;
}

std::string CContainerInput::DescribeCut()
{
    return IsLive() ? "" : DescribeCutEnd(*file, context->iformat->name);
}

bool CContainerInput::KnowsDuration() const
{
    return context->pb != nullptr && (context->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

bool CContainerInput::MarksSamples() const
{
    return HasMarks(*context->iformat);
}

bool CContainerInput::IndexIsComplete() const
{
    return IsMov(*context->iformat);
}

uint64_t CContainerInput::BytesRead() const
{
    return context->pb != nullptr ? static_cast<uint64_t>(std::max<int64_t>(avio_tell(context->pb), 0)) : 0;
}

int CContainerInput::ReadBytes(void* input, uint8_t* buffer, int size) noexcept
{
    auto& self = *static_cast<CContainerInput*>(input);
    try {
        const size_t count = self.file->Read(buffer, static_cast<size_t>(size));
        self.position += count;
        return count == 0 ? AVERROR_EOF : static_cast<int>(count);
    } catch (const std::exception& failure) {
        self.readError = failure.what();
        return AVERROR(EIO);
    }
}

int64_t CContainerInput::SeekBytes(void* input, int64_t offset, int whence) noexcept
{
    auto& self = *static_cast<CContainerInput*>(input);
    const auto size = static_cast<int64_t>(self.file->Size());
    if (whence == AVSEEK_SIZE)
        return self.file->IsRegular() ? size : AVERROR(ENOSYS);
    const int64_t base = whence == SEEK_CUR   ? static_cast<int64_t>(self.position)
                         : whence == SEEK_END ? size
                                              : 0;
    int64_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0 ||
        !self.file->Seek(static_cast<uint64_t>(target)))
        return AVERROR(EINVAL);
    self.position = static_cast<uint64_t>(target);
    return target;
}

}  // namespace tool
