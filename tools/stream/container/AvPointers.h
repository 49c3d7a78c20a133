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
    void operator()(AVIOContext* io) const
    {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

using FormatPointer = std::unique_ptr<AVFormatContext, AvDeleter>;
using AvioPointer = std::unique_ptr<AVIOContext, AvDeleter>;
using PacketPointer = std::unique_ptr<AVPacket, AvDeleter>;

}  // namespace tool
