// Cuts a stream into access units with the library's analysis, and knows which bytes of the stream each one
// has.
//
// The analysis reports one picture late that a slice begins a new picture. From the first leading unit after
// the slices of the previous picture on, the units before that slice belong to it.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/Handle.h"
#include "stream/NalUnit.h"
#include "stream/PictureParameters.h"

#include <set>

namespace tool {

struct AccessUnit
{
    uint64_t number = 0;  // from 0
    uint64_t offset = 0;  // in the stream
    uint64_t size = 0;    // bytes of the stream; parameter sets that the analysis inserts are not counted
    bool hasSlice = false;
    bool isField = false;                    // H.264
    int32_t slice_type = -1;                 // of the first slice; H.264
    bool isKeyFrame = false;                 // set when it is complete
    std::shared_ptr<const Sample> sample{};  // of its first slice; null in a byte stream
    std::shared_ptr<const PictureFormat>
        format{};  // of the SPS that its first slice uses; null if that is unknown
};

enum class UnitRole
{
    Leading,       // before a picture
    FirstSlice,    // begins a picture; the leading units before it are the picture's
    FurtherSlice,  // belongs, with the units before it, to the current picture
    Other,
    Unreadable,  // forbidden_zero_bit is 1, or a slice refers to unknown parameter sets
};

struct Damage
{
    uint64_t damagedUnits = 0;  // forbidden_zero_bit is 1
    uint64_t lostSlices = 0;    // no slice header, or one that refers to unknown parameter sets
    uint64_t bytes = 0;         // of both
};

class CStreamAnalysis
{
public:
    explicit CStreamAnalysis(VideoCodecType codec) : parser(codec), probe(codec), parameters(codec) {}

    // Units in the order of the stream, short ones by themselves.
    UnitRole Take(const NalUnit& unit);
    void Finish();

    // What the last Take or Finish completed, or null.
    const AccessUnit* Completed() const { return isCompleted ? &completed : nullptr; }

    // The access unit that the last slice belongs to.
    const AccessUnit& Current() const { return current; }

    const Damage& Found() const { return damage; }

    // The parameter sets that no picture used so far.
    std::vector<std::string> UnusedSets() const { return parameters.Unused(); }

    // nuh_layer_id of H.265 units above the base layer. Their slices count as bytes of the base layer's
    // access units.
    const std::set<uint32_t>& FurtherLayers() const { return furtherLayers; }

private:
    UnitRole TakeSlice(const NalUnit& unit);
    UnitRole LoseSlice(const NalUnit& unit);
    UnitRole TakeOther(const NalUnit& unit, bool isLeading);
    bool ReadsSlice(const NalUnit& unit);
    void Complete();

    CParseHandle parser;
    CParseHandle probe;  // reads slice headers for itself, to tell which ones the analysis can read
    VideoInfo report{};  // what the library reported for the last unit
    VideoInfoEx sliceInfo{};
    CPictureParameters parameters;
    std::set<uint32_t> furtherLayers;

    AccessUnit current;
    AccessUnit completed;
    bool isCompleted = false;
    // Units after the slices of the current access unit, which may belong to the next one.
    uint64_t heldSize = 0;
    uint64_t heldOffset = 0;
    Damage damage;
};

}  // namespace tool
