#include "FixedInput.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <videoparams/nal_feeder.hpp>

namespace {

constexpr unsigned char Mark[] = "a message of a fixed length";

void Check(bool isTrue, const char* message)
{
    if (!isTrue)
        throw std::runtime_error(message);
}

std::vector<unsigned char> ReadFile(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    Check(!bytes.empty(), "a stream cannot be read");
    return bytes;
}

template <typename UnitTaker>
void CutUnits(const std::vector<unsigned char>& stream, UnitTaker takeUnit)
{
    CNalFeeder feeder;
    feeder.Feed(stream.data(), stream.size(), takeUnit);
    feeder.Finish(takeUnit);
}

}  // namespace

CFixedInput::CFixedInput(const std::string& file, VideoCodecType videoCodec, Payload kind)
    : CFixedInput(ReadFile(file), videoCodec, kind)
{}

CFixedInput::CFixedInput(const Bytes& stream, VideoCodecType videoCodec, Payload kind)
    : codec(videoCodec), payload(kind)
{
    Bytes all;
    CutUnits(stream, [&](const unsigned char* data, unsigned int size) {
        Bytes unit(data, data + size);
        AppendPayload(unit);
        all.insert(all.end(), unit.begin(), unit.end());
    });
    Place(all);
}

CFixedInput CFixedInput::WithUserData() const
{
    void* editor = nullptr;
    Check(UserDataCreate(&editor, codec) == 0, "out of memory");
    Bytes marked;
    for (const Range& unit : accessUnits) {
        const unsigned char* output = nullptr;
        unsigned int size = 0;
        Check(AddUserData(editor, unit.data, unit.size, Mark, sizeof Mark, &output, &size) == 0,
              "AddUserData fails");
        marked.insert(marked.end(), output, output + size);
    }
    UserDataRelease(editor);
    CFixedInput input(*this);
    input.Place(marked);
    return input;
}

// Puts the bytes where they stay, and finds the units and access units there.
void CFixedInput::Place(const Bytes& stream)
{
    blocks = {Bytes(stream.size() + 256)};
    const size_t past = reinterpret_cast<uintptr_t>(blocks[0].data()) % 64;
    unsigned char* const begin = blocks[0].data() + (64 - past) + (payload == Payload::Misaligned ? 13 : 0);
    std::copy(stream.begin(), stream.end(), begin);

    units.clear();
    size_t at = 0;
    CutUnits(stream, [&](const unsigned char*, unsigned int size) {
        units.push_back({begin + at, size});
        at += size;
    });
    Check(at == stream.size(), "a stream does not begin with a start code");
    FindAccessUnits();
}

void CFixedInput::FindAccessUnits()
{
    void* parser = nullptr;
    Check(ParseCreate(&parser, codec, 0, 0) == 0, "out of memory");
    accessUnits.clear();
    unsigned char* begin = units[0].data;
    const auto parse = [&](const Range& unit) {
        VideoInfo info{};
        Check(ParseVideoParams(parser, unit.data, unit.size, &info) == 0, "ParseVideoParams fails");
        if (info.accessUnitFound == 0)
            return;
        accessUnits.push_back({begin, info.accessUnitSize});
        begin += info.accessUnitSize;
    };
    for (const Range& unit : units)
        parse(unit);
    parse({nullptr, 0});
    ParseRelease(parser);
    Check(begin == units.back().data + units.back().size, "the access units are not the stream");
}

void CFixedInput::AppendPayload(Bytes& unit) const
{
    const size_t header = unit[2] == 1 ? 3 : 4;
    const int type = codec == VideoCodecAVC ? unit[header] & 31 : unit[header] >> 1 & 63;
    const bool isSlice = codec == VideoCodecAVC ? type == 1 || type == 5 : type < 32;
    if (!isSlice || payload == Payload::Real)
        return;
    for (unsigned int i = 0; i < 5462; ++i) {
        if (payload == Payload::Dense)
            unit.insert(unit.end(), {0, 0, 3});
        else
            unit.insert(unit.end(), 3, static_cast<unsigned char>(i % 255 + 1));
    }
    unit.push_back(0x80);
}
