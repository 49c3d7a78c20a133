// Reads the video packets of a file through libavformat and discards them: what the tool's reading is
// compared with.
//
//     videoparams_read_packets FILE

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdio>

namespace {

int Fail(const char* file, const char* what)
{
    std::fprintf(stderr, "%s: %s\n", file, what);
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return Fail("videoparams_read_packets", "give a FILE");
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, argv[1], nullptr, nullptr) < 0 ||
        avformat_find_stream_info(context, nullptr) < 0)
        return Fail(argv[1], "it cannot be opened");
    const int video = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    for (unsigned int i = 0; i < context->nb_streams; ++i) {
        if (static_cast<int>(i) != video)
            context->streams[i]->discard = AVDISCARD_ALL;
    }
    AVPacket* packet = av_packet_alloc();
    unsigned long packets = 0;
    unsigned long long bytes = 0;
    for (; av_read_frame(context, packet) >= 0; ++packets) {
        bytes += static_cast<unsigned long long>(packet->size);
        av_packet_unref(packet);
    }
    std::printf("%lu packets, %llu bytes\n", packets, bytes);
    av_packet_free(&packet);
    avformat_close_input(&context);
    return packets == 0 ? Fail(argv[1], "there is no packet in it") : 0;
}
