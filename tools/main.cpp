// videoparams: analyses and edits H.264 and H.265 byte streams.
//
// SPDX-License-Identifier: MIT

#include "commands/CommandLine.h"
#include "io/ToolError.h"
#include "report/Message.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>

int main(int argc, char** argv)
{
    try {
        const int status = tool::RunCommandLine(argc, argv);
        if (std::fflush(stdout) == 0 && !std::ferror(stdout))
            return status;
        tool::Complain(std::string("standard output: ") + std::strerror(errno));
    } catch (const std::bad_alloc&) {
        tool::Complain("out of memory");
    } catch (const std::exception& error) {
        tool::Complain(error.what());
    }
    return tool::StatusFailed;
}
