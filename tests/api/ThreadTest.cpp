#include "support/Analysis.h"
#include "support/TestStream.h"

#include <gtest/gtest.h>
#include <thread>

namespace videoparams::test {

namespace {

constexpr size_t ThreadCount = 16;

// All that the operations say of a stream, from handles of one's own.
std::vector<Bytes> Results(VideoCodecType codec, const Bytes& stream)
{
    std::vector<Bytes> results;
    Analysis host(codec);
    for (const Bytes& unit : SplitUnits(stream))
        host.Feed(unit);
    host.Flush();
    for (Analysis::Report report : host.Reports()) {
        report.info.accessUnitData = nullptr;
        results.push_back(report.bytes);
        results.push_back(CopyOf(reinterpret_cast<const unsigned char*>(&report.info), sizeof report.info));
    }

    void* editor = nullptr;
    EXPECT_EQ(UserDataCreate(&editor, codec), 0);
    const unsigned char* output = nullptr;
    unsigned int size = 0;
    AddUserData(editor, stream.data(), Size(stream), stream.data(), 1000, &output, &size);
    results.push_back(CopyOf(output, size));
    RemoveUserData(editor, stream.data(), Size(stream), &output, &size);
    results.push_back(CopyOf(output, size));
    EXPECT_EQ(UserDataRelease(editor), 0);
    return results;
}

std::vector<std::vector<Bytes>> ResultsOfAll(const std::vector<Bytes>& streams)
{
    std::vector<std::vector<Bytes>> results;
    for (size_t i = 0; i < streams.size(); ++i)
        results.push_back(Results(TestStreams()[i].codec, streams[i]));
    return results;
}

}  // namespace

TEST(Thread, SixteenWithAHandleEachGetTheResultsOfOne)
{
    std::vector<Bytes> streams;
    for (const TestStream& stream : TestStreams())
        streams.push_back(stream.Read());

    std::vector<std::vector<std::vector<Bytes>>> results(ThreadCount);
    std::vector<std::thread> threads;
    for (auto& result : results)
        threads.emplace_back([&result, &streams] { result = ResultsOfAll(streams); });
    for (std::thread& thread : threads)
        thread.join();

    const std::vector<std::vector<Bytes>> expected = ResultsOfAll(streams);
    for (const auto& result : results)
        EXPECT_TRUE(result == expected);
}

}  // namespace videoparams::test
