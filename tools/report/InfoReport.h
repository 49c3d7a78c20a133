// Writes what `info` found: for people and for programs.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/StreamSummary.h"

#include <cstdio>
#include <string>

namespace tool {

struct InfoReport
{
    std::string name;
    VideoCodecType codec = VideoCodecAVC;
    uint64_t readBytes = 0;
    uint64_t unitCount = 0;
    uint64_t skippedBytes = 0;
    CStreamSummary summary;
    Damage damage;

    bool IsDamaged() const { return UnreadableBytes() != 0; }
    uint64_t UnreadableBytes() const { return damage.bytes + skippedBytes; }
    uint64_t UnreadableUnits() const { return damage.damagedUnits + damage.lostSlices; }
    std::string DescribeDamage() const;
};

void PrintReport(const InfoReport& report);

// "1920 x 1080, 25 frames/s, 250 access units, ...": the report in a line.
std::string DescribeInALine(const InfoReport& report);

// JSON, written as the stream is read. The access units, where they are wanted, come in a line each.
class CJsonReport
{
public:
    CJsonReport(const std::string& name, VideoCodecType codec, bool listsAccessUnits);
    void PrintAccessUnit(const AccessUnit& unit);
    void Finish(const InfoReport& report);

private:
    bool listsAccessUnits;
    bool isFirst = true;
};

}  // namespace tool
