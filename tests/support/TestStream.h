#pragma once

#include "VideoParams.h"
#include "streams/Bytes.h"

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace videoparams::test {

using namespace streams;

// A stream of tests/streams; what other programs say of it is beside it.
struct TestStream
{
    std::string name;
    VideoCodecType codec;

    Bytes Read() const;
    nlohmann::json Description() const;
};

// All streams that have a description, by name.
const std::vector<TestStream>& TestStreams();

inline void PrintTo(const TestStream& stream, std::ostream* out)
{
    *out << stream.name;
}

// The name as googletest takes it: letters and digits.
std::string TestName(const TestStream& stream);

// The units of a stream, each with its start code; a zero in front of 00 00 01 is part of it, other zeros
// belong to the unit before. What stands in front of the first is dropped.
std::vector<Bytes> SplitUnits(const Bytes& stream);

}  // namespace videoparams::test
