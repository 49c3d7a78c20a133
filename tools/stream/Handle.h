// The library's handles, released at the end of their scope.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "VideoParams.h"

namespace tool {

class CParseHandle
{
public:
    // The tool takes nothing from the blocks of a report, so it needs no ring of them.
    explicit CParseHandle(VideoCodecType codec, unsigned int queueCount = 2);
    ~CParseHandle() { ParseRelease(handle); }
    CParseHandle(const CParseHandle&) = delete;
    CParseHandle& operator=(const CParseHandle&) = delete;

    operator void*() const { return handle; }

private:
    void* handle = nullptr;
};

class CUserDataHandle
{
public:
    explicit CUserDataHandle(VideoCodecType codec);
    ~CUserDataHandle() { UserDataRelease(handle); }
    CUserDataHandle(const CUserDataHandle&) = delete;
    CUserDataHandle& operator=(const CUserDataHandle&) = delete;

    operator void*() const { return handle; }

private:
    void* handle = nullptr;
};

}  // namespace tool
