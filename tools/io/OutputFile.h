// A file that is there whole or not at all: it is written under another name beside its place, and renamed at
// the end.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace tool {

// What a command writes, so that it is recognised in a file that already has the name.
struct OutputKind
{
    const char* name;  // "an SVG picture"
    bool (*isKindOf)(
        std::string_view start);  // of the bytes at the start of a file; null: cannot be recognised
};

struct OutputRequest
{
    std::string path;  // "-" is the standard output
    OutputKind kind{};
    std::vector<std::string> inputs{};  // the files that the command reads; "-" is the standard input
    std::string editedInput{};  // one of them, if the output is an edited copy that may take its place
    bool force = false;         // replaces a file of any kind, but never an input
};

class COutputFile
{
public:
    // The standard output and devices are written directly. A link is followed: the file that it names is
    // replaced. Throws CToolError, also if something would be lost: the path is an input, or it is a file of
    // another kind.
    explicit COutputFile(const OutputRequest& request);

    // Without Commit nothing remains of it.
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
    void OpenTemporary(const struct stat* replaced);
    [[noreturn]] void Fail() const;

    std::string path;
    std::string temporaryPath;  // empty if it is written directly
    std::FILE* file = nullptr;
};

}  // namespace tool
