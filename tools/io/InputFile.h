// A file, or the standard input, read from front to back.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace tool {

class CInputFile
{
public:
    // "-" is the standard input. Throws CToolError when the file cannot be read.
    explicit CInputFile(const std::string& path);
    ~CInputFile();
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    // Fills `buffer` as far as there is something; 0 at the end. Throws CToolError.
    size_t Read(unsigned char* buffer, size_t capacity);

    const std::string& Name() const { return name; }

    // Bytes from here to the end when it was opened; 0 when that is not known.
    uint64_t Size() const { return size; }

private:
    std::string name;
    std::FILE* file = nullptr;
    uint64_t size = 0;
};

// A whole small file. Throws CToolError, also when it has more than `limit` bytes.
std::string ReadWholeFile(const std::string& path, size_t limit);

}  // namespace tool
