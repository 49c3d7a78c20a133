// Prints what `info` finds.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"
#include "report/StreamSummary.h"

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tool {

struct InfoResult
{
    SourceFacts facts;
    SourceCounts counts;
    CStreamSummary summary;
    Damage damage;
    std::vector<std::string> unusedSets;  // "SPS 1"
    std::set<uint32_t> furtherLayers;     // nuh_layer_id

    bool IsDamaged() const { return UnreadableBytes() != 0 || counts.container.damagedSamples != 0; }
    uint64_t UnreadableBytes() const { return damage.bytes + counts.skippedBytes; }
    uint64_t UnreadableUnits() const { return damage.damagedUnits + damage.lostSlices; }
    std::string DescribeDamage() const;
};

// "1920 x 1080, 25 frames/s, 250 access units, ...": the result in a line.
std::string DescribeInALine(const InfoResult& result);

// Labels and texts, as `info` prints them, a line each.
using InfoLines = std::vector<std::pair<std::string, std::string>>;
InfoLines DescribeStream(const InfoResult& result);

class CInfoReport : public CReport
{
public:
    // Only with --units, for every access unit while the stream is read.
    virtual void Add(const AccessUnit& unit) = 0;
    virtual void End(const InfoResult& result) = 0;
};

std::unique_ptr<CInfoReport> MakeInfoReport(const ReportStyle& style, bool listsAccessUnits);
std::unique_ptr<CInfoReport> MakeInfoJson(const ReportStyle& style, bool listsAccessUnits);

}  // namespace tool
