// What the worst streams cost, a byte.

#include "Handles.h"
#include "Measure.h"

#include <algorithm>

namespace bench {

namespace {

constexpr size_t ShapeSize = 5000000;

struct Shape
{
    const char* name;
    std::vector<unsigned char> unit;  // over and over, behind `front`
    std::vector<unsigned char> front;
};

const Shape shapes[] = {
    {"zeros", {0}, {}},
    {"zeros in a SEI unit", {0}, {0, 0, 1, 6}},
    {"00 00 03 in a SEI unit", {0, 0, 3}, {0, 0, 1, 6}},
    {"FF in a SEI unit", {0xFF}, {0, 0, 1, 6}},
    {"units of 5 bytes", {0, 0, 1, 9, 16}, {}},
    {"empty units", {0, 0, 1}, {}},
};

std::vector<unsigned char> Make(const Shape& shape)
{
    std::vector<unsigned char> bytes = shape.front;
    while (bytes.size() < ShapeSize)
        bytes.insert(bytes.end(), shape.unit.begin(), shape.unit.end());
    return bytes;
}

using Call = void (*)(void* handle, unsigned char* data, unsigned int size);

void Split(void* handle, unsigned char* data, unsigned int size)
{
    unsigned int count = 0;
    unsigned char** units = nullptr;
    unsigned int* sizes = nullptr;
    GetNalFromFrame(handle, data, size, &count, &units, &sizes);
}

void Analyse(void* handle, unsigned char* data, unsigned int size)
{
    VideoInfo info;
    ParseVideoParams(handle, data, size, &info);
    ParseVideoParams(handle, nullptr, 0, &info);
}

void Add(void* handle, unsigned char* data, unsigned int size)
{
    const unsigned char* output = nullptr;
    unsigned int outputSize = 0;
    AddUserData(handle, data, size, data, 100, &output, &outputSize);
}

void Get(void* handle, unsigned char* data, unsigned int size)
{
    const unsigned char* output = nullptr;
    unsigned int outputSize = 0;
    GetUserData(handle, data, size, &output, &outputSize);
}

void Remove(void* handle, unsigned char* data, unsigned int size)
{
    const unsigned char* output = nullptr;
    unsigned int outputSize = 0;
    RemoveUserData(handle, data, size, &output, &outputSize);
}

const struct
{
    const char* name;
    bool needsUserDataHandle;
    Call call;
} operations[] = {
    {"GetNalFromFrame", false, Split}, {"ParseVideoParams", false, Analyse}, {"AddUserData", true, Add},
    {"GetUserData", true, Get},        {"RemoveUserData", true, Remove},
};

}  // namespace

void RegisterHostileShapes()
{
    for (const Shape& shape : shapes) {
        for (const auto& operation : operations) {
            const std::string name = std::string("hostile/") + shape.name + "/" + operation.name;
            benchmark::RegisterBenchmark(name.c_str(), [&shape, &operation](benchmark::State& state) {
                std::vector<unsigned char> bytes = Make(shape);
                void* handle = nullptr;
                if (operation.needsUserDataHandle)
                    UserDataCreate(&handle, VideoCodecAVC);
                else
                    ParseCreate(&handle, VideoCodecAVC, 0, 0);
                Measure(state, bytes.size(), 1, [&] {
                    operation.call(handle, bytes.data(), static_cast<unsigned int>(bytes.size()));
                    return true;
                });
                if (operation.needsUserDataHandle)
                    UserDataRelease(handle);
                else
                    ParseRelease(handle);
            });
        }
    }
}

}  // namespace bench
