// Removes a temporary file if a signal ends the program.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <csignal>
#include <string>

namespace tool {

// Blocks the signals that end the program for the duration of its scope: no signal comes between the creation
// of a file and RemoveOnSignal.
class CSignalPause
{
public:
    CSignalPause();
    ~CSignalPause();
    CSignalPause(const CSignalPause&) = delete;
    CSignalPause& operator=(const CSignalPause&) = delete;

private:
    sigset_t before;
};

// One file at a time. A signal that is ignored stays ignored, as nohup wants it for SIGHUP.
void RemoveOnSignal(const std::string& path);

// The file has its name for good, or is gone: signals do again what they did before.
void StopRemovingOnSignal();

}  // namespace tool
