// The parameter sets and the user data of a stream, each with its unit. Long lists are cut short.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/JsonReport.h"
#include "stream/NalUnit.h"

#include <map>
#include <utility>

namespace tool {

// The unit of bytes that stay in place and begin with a start code. No bytes: a unit without header.
NalUnit UnitOf(VideoCodecType codec, const std::vector<unsigned char>& bytes);

// Header first, without the start code.
std::vector<unsigned char> RbspOf(const NalUnit& unit);

class CStreamLists
{
public:
    void Take(const NalUnit& unit);
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

    struct Message
    {
        uint64_t unit;
        std::string identifier;  // of 16 bytes, as hex
        bool isOwn;              // the library's
        uint64_t size;           // of the payload
        std::string payload;     // its first bytes, as hex
    };

    void TakeParameterSet(const NalUnit& unit);
    void TakeMessages(const NalUnit& unit);

    std::vector<ParameterSet> sets;
    std::map<std::pair<std::string, uint32_t>, size_t> lastSets;  // in `sets`, by kind and identifier
    std::vector<Message> messages;
    uint64_t messageCount = 0;
};

}  // namespace tool
