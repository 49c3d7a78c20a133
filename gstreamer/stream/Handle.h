// The library's handles, released at the end of their scope.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <VideoParams.h>

#include <cstdint>

namespace gstvp {

template <int64_t (*ReleaseFunction)(void*)>
class CHandle
{
public:
    CHandle() = default;
    ~CHandle() { Release(); }
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;

    // Where a create function puts a new handle.
    void** Renew()
    {
        Release();
        return &handle;
    }
    void Release()
    {
        if (handle != nullptr)
            ReleaseFunction(handle);
        handle = nullptr;
    }
    operator void*() const { return handle; }

private:
    void* handle = nullptr;
};

using CUserDataHandle = CHandle<UserDataRelease>;
using CParseHandle = CHandle<ParseRelease>;

}  // namespace gstvp
