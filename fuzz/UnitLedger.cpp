#include "UnitLedger.h"

#include <algorithm>
#include <set>

namespace {

bool BeginsWithStartCode(Bytes bytes)
{
    return bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 &&
           (bytes[2] == 1 || (bytes[2] == 0 && bytes[3] == 1));
}

bool BeginsWithUnit(Bytes bytes, Bytes unit)
{
    return bytes.size() >= unit.size() && Equal(bytes.first(unit.size()), unit) &&
           (bytes.size() == unit.size() || BeginsWithStartCode(bytes.subspan(unit.size())));
}

}  // namespace

void CUnitLedger::Feed(Bytes unit)
{
    fed.push_back(unit);
    if (firstSps.empty() && UnitType(unit, VideoCodecAVC) == 7)
        firstSps = unit;
    if (firstPps.empty() && UnitType(unit, VideoCodecAVC) == 8)
        firstPps = unit;
}

bool CUnitLedger::MayBeDropped(Bytes unit, bool isOpen) const
{
    const uint32_t type = UnitType(unit, codec);
    return !isOpen || (codec == VideoCodecAVC && (type == 1 || type == 2 || type == 5));
}

// The bytes are in two pieces. Returns the index after the last unit in them, or 0 if they are no units.
size_t CUnitLedger::UnitsIn(Bytes begin, Bytes rest, size_t first) const
{
    bool isOpen = wasReported;
    for (size_t i = first; i < fed.size(); ++i) {
        Bytes& piece = begin.empty() ? rest : begin;
        if (BeginsWithUnit(piece, fed[i])) {
            piece = piece.subspan(fed[i].size());
            isOpen = true;
            if (begin.empty() && rest.empty())
                return i + 1;
        } else if (!MayBeDropped(fed[i], isOpen)) {
            return 0;
        }
    }
    return 0;
}

// The same without the held parameter sets, which a key frame that comes without gets.
size_t CUnitLedger::UnitsInCompleted(Bytes accessUnit, size_t first) const
{
    for (size_t at = 0; at + firstSps.size() + firstPps.size() <= accessUnit.size(); ++at) {
        const Bytes rest = accessUnit.subspan(at);
        if (!BeginsWithUnit(rest, firstSps) || !BeginsWithUnit(rest.subspan(firstSps.size()), firstPps))
            continue;
        const size_t end =
            UnitsIn(accessUnit.first(at), rest.subspan(firstSps.size() + firstPps.size()), first);
        if (end != 0)
            return end;
    }
    return 0;
}

// The parameter sets of a key frame may have been fed with it or inserted. If equal slices and sets follow
// each other, both readings may fit. Then both are kept until a later report fits only one.
void CUnitLedger::Report(Bytes accessUnit, bool isKeyFrame)
{
    const bool mayBeCompleted =
        codec == VideoCodecAVC && isKeyFrame && !firstSps.empty() && !firstPps.empty();
    std::set<size_t> ends;
    for (const size_t first : next) {
        ends.insert(UnitsIn({}, accessUnit, first));
        if (mayBeCompleted)
            ends.insert(UnitsInCompleted(accessUnit, first));
    }
    ends.erase(0);
    REQUIRE(!ends.empty());
    const size_t reported = *ends.begin();
    fed.erase(fed.begin(), fed.begin() + static_cast<ptrdiff_t>(reported));
    next.clear();
    for (const size_t end : ends)
        next.push_back(end - reported);
    wasReported = true;
}

void CUnitLedger::Flush()
{
    const auto mayBeDropped = [this](Bytes unit) { return MayBeDropped(unit, wasReported); };
    REQUIRE(std::any_of(next.begin(), next.end(), [&](size_t first) {
        return std::all_of(fed.begin() + static_cast<ptrdiff_t>(first), fed.end(), mayBeDropped);
    }));
    next = {0};
    fed.clear();
    wasReported = false;
}
