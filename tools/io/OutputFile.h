// A file that is there whole or not at all: it is written under another name beside its place, and renamed at
// the end.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace tool {

class COutputFile
{
public:
    // "-" is the standard output; it and devices are written directly. Throws CToolError.
    explicit COutputFile(const std::string& path);

    // Without Commit nothing is left of it.
    ~COutputFile();
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    void Write(const void* data, size_t size);
    void Write(std::string_view text) { Write(text.data(), text.size()); }
    void Commit();

    bool IsStandardOutput() const { return file == stdout; }

    // The file that gets the bytes until Commit, for a library that opens files by name; empty if there is
    // none.
    const std::string& TemporaryPath() const { return temporaryPath; }

private:
    void OpenTemporary(unsigned int mode);
    [[noreturn]] void Fail() const;

    std::string path;
    std::string temporaryPath;  // empty when it is written directly
    std::FILE* file = nullptr;
};

}  // namespace tool
