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

// The units of a stream, each with its start code. One zero before 00 00 01 belongs to the start code,
// further zeros belong to the previous unit. Bytes before the first start code are dropped.
std::vector<Bytes> SplitUnits(const Bytes& stream);

}  // namespace videoparams::test
