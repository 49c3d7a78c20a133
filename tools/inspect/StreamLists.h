// The parameter sets, the user data and the findings of a stream, each with its unit. Long lists are cut
// short.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/JsonReport.h"
#include "stream/NalUnit.h"

#include <map>
#include <optional>
#include <utility>

namespace tool {

// The unit of bytes that stay in place and begin with a start code. No bytes: a unit without header.
NalUnit UnitOf(VideoCodecType codec, const std::vector<unsigned char>& bytes);

class CStreamLists
{
public:
    void Take(const NalUnit& unit);
    // `unit` is the number of the unit, or nothing for the stream as a whole.
    void AddFinding(std::optional<uint64_t> unit, const std::string& text);
    Json ToJson() const;

    // The parameter set that a slice in `unit` refers to, with a start code; empty if there is none.
    std::vector<unsigned char> Find(const std::string& kind, uint32_t id, uint64_t unit) const;

private:
    // A parameter set, until it changes.
    struct ParameterSet
    {
        const char* kind;
        uint32_t id;
        uint64_t firstUnit;
        uint64_t count;
        std::vector<unsigned char> bytes;  // header first
    };

    void TakeParameterSet(const NalUnit& unit);
    void TakeMessages(const NalUnit& unit);

    std::vector<ParameterSet> sets;
    std::map<std::pair<std::string, uint32_t>, size_t> lastSets;  // in `sets`, by kind and identifier
    Json messages = Json::array();
    uint64_t messageCount = 0;
    Json findings = Json::array();
    uint64_t findingCount = 0;
};

}  // namespace tool
