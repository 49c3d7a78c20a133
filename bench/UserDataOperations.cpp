// The operations of a user-data handle, with one access unit per call. Every access unit already has a
// message.

#include "Handles.h"
#include "Measure.h"

#include <cstring>

namespace bench {

namespace {

const unsigned char userData[] = "2024-05-17T12:34:56.789Z camera 7";

void MeasureAddUserData(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CUserDataHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        size_t editedBytes = 0;
        for (const AccessUnit& unit : stream.accessUnits) {
            const unsigned char* edited = nullptr;
            unsigned int editedSize = 0;
            if (AddUserData(handle, unit.data, unit.size, userData, sizeof userData, &edited, &editedSize) ==
                0)
                editedBytes += editedSize;
        }
        return editedBytes > stream.size + stream.accessUnits.size() * sizeof userData;
    });
}

void MeasureGetUserData(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CUserDataHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        bool ok = true;
        for (const AccessUnit& unit : stream.accessUnits) {
            const unsigned char* found = nullptr;
            unsigned int foundSize = 0;
            GetUserData(handle, unit.data, unit.size, &found, &foundSize);
            ok = ok && foundSize == 16;
        }
        return ok;
    });
}

void MeasureRemoveUserData(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CUserDataHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        bool ok = true;
        for (const AccessUnit& unit : stream.accessUnits) {
            const unsigned char* edited = nullptr;
            unsigned int editedSize = 0;
            RemoveUserData(handle, unit.data, unit.size, &edited, &editedSize);
            ok = ok && editedSize < unit.size && editedSize + 64 > unit.size;
        }
        return ok;
    });
}

}  // namespace

void RegisterUserDataOperations(const StreamKey& key)
{
    Register(key, "AddUserData", MeasureAddUserData);
    Register(key, "GetUserData", MeasureGetUserData);
    Register(key, "RemoveUserData", MeasureRemoveUserData);
}

}  // namespace bench
