// Owners of libavformat's objects.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

extern "C" {
#include <libavformat/avformat.h>
}

namespace tool {

struct AvDeleter
{
    void operator()(AVFormatContext* context) const
    {
        if (context->iformat != nullptr)
            avformat_close_input(&context);
        else
            avformat_free_context(context);
    }
    // Made with avio_alloc_context.
    void operator()(AVIOContext* io) const
    {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

// Made with avio_open2.
struct AvFileCloser
{
    void operator()(AVIOContext* file) const { avio_close(file); }
};

using FormatPointer = std::unique_ptr<AVFormatContext, AvDeleter>;
using AvioPointer = std::unique_ptr<AVIOContext, AvDeleter>;
using AvioFilePointer = std::unique_ptr<AVIOContext, AvFileCloser>;
using PacketPointer = std::unique_ptr<AVPacket, AvDeleter>;

}  // namespace tool
