#include "stream/FileFormat.h"

#include <cstddef>

namespace tool {

namespace {

using namespace std::string_view_literals;

// The bytes at one offset that a format begins with.
struct Signature
{
    size_t offset;
    std::string_view bytes;
    std::string_view name;
    bool isVideoContainer;
};

// The first one that fits counts, so a special case comes before the general one.
constexpr Signature Signatures[] = {
    {4, "ftyp"sv, "an MP4 file"sv, true},
    {4, "moov"sv, "an MP4 file"sv, true},
    {4, "mdat"sv, "an MP4 file"sv, true},
    {4, "styp"sv, "a fragment of an MP4 file"sv, true},
    {4, "moof"sv, "a fragment of an MP4 file"sv, true},
    {0, "\x1A\x45\xDF\xA3"sv, "a Matroska file"sv, true},
    {8, "WAVE"sv, "a WAV file"sv, false},
    {0, "RF64"sv, "a WAV file"sv, false},
    {8, "AVI "sv, "an AVI file"sv, true},
    {0, "FLV\x01"sv, "an FLV file"sv, true},
    {0, "\x06\x0E\x2B\x34\x02\x05\x01\x01"sv, "an MXF file"sv, true},
    {0, "OggS"sv, "an Ogg file"sv, false},
    {0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11"sv, "an ASF file"sv, true},
    {0, "DKIF"sv, "an IVF file"sv, false},
    {0, "YUV4MPEG2"sv, "a Y4M file of uncompressed video"sv, false},
    {0, "ID3"sv, "an MP3 file"sv, false},
    {0, "fLaC"sv, "a FLAC file"sv, false},
    {0, "\x89PNG"sv, "a PNG picture"sv, false},
    {0, "\xFF\xD8\xFF"sv, "a JPEG picture"sv, false},
    {0, "\0\0\1\xBA"sv, "an MPEG program stream"sv, true},
    {0, "\0\0\1\xB3"sv, "an MPEG-2 video stream"sv, false},
    {0, "\0\0\1\xB0"sv, "an MPEG-4 Part 2 video stream"sv, false},
};

bool HasAt(std::string_view start, size_t offset, std::string_view bytes)
{
    return start.size() >= offset && start.substr(offset).starts_with(bytes);
}

// Packets of 188 bytes, on discs with four more bytes before each.
bool IsTransportStream(std::string_view start, size_t packetSize, size_t syncByte)
{
    return HasAt(start, syncByte, "G") && HasAt(start, syncByte + packetSize, "G") &&
           HasAt(start, syncByte + 2 * packetSize, "G");
}

constexpr Signature TransportStream = {0, "G"sv, "an MPEG transport stream"sv, true};

const Signature* Find(std::string_view start)
{
    for (const Signature& signature : Signatures) {
        if (HasAt(start, signature.offset, signature.bytes))
            return &signature;
    }
    return IsTransportStream(start, 188, 0) || IsTransportStream(start, 192, 4) ? &TransportStream : nullptr;
}

}  // namespace

std::string_view FileFormatName(std::string_view start)
{
    const Signature* const found = Find(start);
    return found == nullptr ? "" : found->name;
}

bool IsVideoContainer(std::string_view start)
{
    const Signature* const found = Find(start);
    return found != nullptr && found->isVideoContainer;
}

}  // namespace tool
