#pragma once

#include "VideoParams.h"

#include <new>

namespace bench {

class CParseHandle
{
public:
    explicit CParseHandle(VideoCodecType codec)
    {
        if (ParseCreate(&handle, codec, 0, 0) != 0)
            throw std::bad_alloc();
    }
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
    explicit CUserDataHandle(VideoCodecType codec)
    {
        if (UserDataCreate(&handle, codec) != 0)
            throw std::bad_alloc();
    }
    ~CUserDataHandle() { UserDataRelease(handle); }
    CUserDataHandle(const CUserDataHandle&) = delete;
    CUserDataHandle& operator=(const CUserDataHandle&) = delete;
    operator void*() const { return handle; }

private:
    void* handle = nullptr;
};

}  // namespace bench
