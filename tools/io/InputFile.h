// A file, or the standard input.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

class CInputFile
{
public:
    // "-" is the standard input. Throws CToolError when the file cannot be read.
    explicit CInputFile(const std::string& path);
    ~CInputFile();
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    // The first bytes of the file, at least `count` of them if it has so many. Reading starts with them
    // anyway. Throws CToolError. Call it before Read and Seek.
    const std::vector<unsigned char>& Peek(size_t count);

    // Waits until there is something and returns what is there: of a pipe that may be less than `capacity`. 0
    // at the end, or if Ctrl-C was pressed while a CInterrupt exists. Writes out the standard output before
    // it waits: results appear while the input is slow. Throws CToolError.
    size_t Read(unsigned char* buffer, size_t capacity);

    // Moves to a byte of the file. False if that is not possible, as in a pipe.
    bool Seek(uint64_t offset);

    const std::string& Path() const { return path; }
    const std::string& Name() const { return name; }

    // Bytes of the file when it was opened; 0 if that is not known.
    uint64_t Size() const { return size; }

    // A file that ends and can be read again, in contrast to a pipe or a device.
    bool IsRegular() const { return isRegular; }

private:
    bool AwaitBytes() const;
    size_t ReadDescriptor(unsigned char* buffer, size_t capacity);

    std::string path;
    std::string name;
    int descriptor = -1;
    std::vector<unsigned char> head;  // what was peeked at and not read yet
    size_t headPosition = 0;
    uint64_t start = 0;  // where the descriptor pointed to when it was opened
    uint64_t size = 0;
    bool isRegular = false;
};

// A whole small file. Throws CToolError, also when it has more than `limit` bytes.
std::string ReadWholeFile(const std::string& path, size_t limit);

}  // namespace tool
