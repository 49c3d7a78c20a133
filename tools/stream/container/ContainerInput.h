// Reads the packets of a container or a live URL through libavformat.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/InputFile.h"
#include "stream/container/AvPointers.h"
#include "stream/container/FileLayout.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

// What libavformat takes the file for: a container, or a byte stream of another codec. Null if it is neither.
const AVInputFormat* DetectContainerFormat(CInputFile& file, size_t headSize);

// "rtsp://…", and not a file of this name.
bool IsUrl(const std::string& path);

class CContainerInput
{
public:
    // Opens the container and reads its headers. Both throw CToolError.
    CContainerInput(std::unique_ptr<CInputFile> file, const AVInputFormat* format);
    explicit CContainerInput(const std::string& url);
    ~CContainerInput();

    // The H.264 or H.265 stream with this index, or the best one. Throws CToolError if the file has no such
    // stream.
    AVStream& ChooseVideo(std::optional<int> index);

    // Width and height as the headers have them; libavformat replaces them later by those of the pictures. 0:
    // not recorded.
    std::pair<int, int> RecordedSize(const AVStream& stream) const;

    // Whether the headers hold codec-private data. If not, as in MPEG-TS, libavformat takes parameter sets
    // from the first samples.
    bool RecordsDescription(const AVStream& stream) const;

    // False at the end, at an error (see Error), or after Ctrl-C.
    bool Read(AVPacket& packet);

    AVFormatContext& Context() const { return *context; }
    const std::string& Name() const { return name; }

    // What libavformat reports about a failure of its own.
    std::string Describe(int code) const;

    // The order of the boxes of an MP4 file. Nothing of a live input, as for DescribeCut.
    MovLayout ReadLayout();

    // How the file shows that its end is missing; empty if it does not. Call it at the end only.
    std::string DescribeCut();

    // Why reading ended before the end of the file; empty if it did not.
    const std::string& Error() const { return error; }

    uint64_t Size() const { return file ? file->Size() : 0; }  // of the file; 0: not known
    uint64_t BytesRead() const;

    bool KnowsDuration() const;    // otherwise libavformat reports the duration of what it has read
    bool MarksSamples() const;     // key samples are marked by the container
    bool IndexIsComplete() const;  // libavformat knows from the start all samples that there should be

    // A pipe, a device or a URL: there are results before it ends.
    bool IsLive() const { return !file || !file->IsRegular(); }

private:
    struct StreamHeader
    {
        int width;
        int height;
        bool hasDescription;
    };

    void Open(const char* url, const AVInputFormat* format);
    std::string DescribeVideos() const;

    static int ReadBytes(void* input, uint8_t* buffer, int size) noexcept;
    static int64_t SeekBytes(void* input, int64_t offset, int whence) noexcept;

    std::string name;
    std::unique_ptr<CInputFile> file;  // null for a URL
    uint64_t position = 0;             // in the file
    std::string readError;
    AvioPointer io;
    FormatPointer context;
    std::vector<StreamHeader> headers;  // of the streams that the headers name
    std::string error;
};

}  // namespace tool
