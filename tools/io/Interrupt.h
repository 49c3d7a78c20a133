// Ctrl-C as a request to end: a command that reads a live input stops reading and prints what it has seen.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <csignal>

namespace tool {

// While one of these exists, the first SIGINT sets a flag. A second one ends the program as usual.
class CInterrupt
{
public:
    CInterrupt();
    ~CInterrupt();
    CInterrupt(const CInterrupt&) = delete;
    CInterrupt& operator=(const CInterrupt&) = delete;

    // Stays true: no further file is read.
    static bool IsRequested();

private:
    struct sigaction previous = {};
};

}  // namespace tool
