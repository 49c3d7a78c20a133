// Compares what a container records with what its video stream contains: marks of key samples, times,
// parameter sets, one access unit per sample.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/SampleContents.h"
#include "stream/UnitSource.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tool {

struct SampleFinding
{
    std::shared_ptr<const Sample> sample;  // null: of the whole stream
    std::string text;                      // what was found
    std::string expected;                  // instead of it
};

class CContainerCheck
{
public:
    explicit CContainerCheck(const SourceFacts& facts);

    // Units in the order of the stream, with what the analysis took them for. Returns what was found in the
    // samples that are finished.
    std::vector<SampleFinding> Take(const NalUnit& unit, UnitRole role, const CStreamAnalysis& analysis);

    // After the analysis is finished.
    std::vector<SampleFinding> Finish(const SourceCounts& counts, const CStreamAnalysis& analysis);

private:
    using SetKey = std::pair<uint32_t, uint32_t>;  // nal_unit_type and identifier

    void TakeParameterSet(const NalUnit& unit);
    void TakeCompleted(const AccessUnit& picture);
    void FinishSample();
    void CheckPictures();
    void CheckMark();
    void CheckTimes(const std::shared_ptr<const Sample>& sample);
    void CheckFrameRate();
    std::string Time(int64_t ticks) const;
    void Add(const std::string& found, const std::string& expected)
    {
        findings.push_back({contents.Of(), found, expected});
    }

    const SourceFacts& facts;
    const ContainerFacts& container;
    CSampleContents contents;  // of the sample at hand
    std::vector<SampleFinding> findings;

    std::map<SetKey, std::vector<unsigned char>> describedSets;
    std::set<SetKey> reportedSets;

    std::shared_ptr<const Sample> firstTimed;
    std::shared_ptr<const Sample> lastTimed;
    uint64_t timedSamples = 0;
    std::pair<uint32_t, uint32_t> reportedSize{};
    double streamFrameRate = 0;  // of the last SPS that has one; 0: none has
    bool rateChanges = false;
};

}  // namespace tool
