#include "UnitLedger.h"

#include <algorithm>

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

// How many units were fed up to the end of these bytes, which are in two pieces; 0 if they are no units.
size_t CUnitLedger::UnitsIn(Bytes begin, Bytes rest) const
{
    bool isOpen = wasReported;
    for (size_t i = 0; i < fed.size(); ++i) {
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
size_t CUnitLedger::UnitsInCompleted(Bytes accessUnit) const
{
    for (size_t at = 0; at + firstSps.size() + firstPps.size() <= accessUnit.size(); ++at) {
        const Bytes rest = accessUnit.subspan(at);
        if (!BeginsWithUnit(rest, firstSps) || !BeginsWithUnit(rest.subspan(firstSps.size()), firstPps))
            continue;
        const size_t count = UnitsIn(accessUnit.first(at), rest.subspan(firstSps.size() + firstPps.size()));
        if (count != 0)
            return count;
    }
    return 0;
}

void CUnitLedger::Report(Bytes accessUnit, bool isKeyFrame)
{
    size_t count = UnitsIn({}, accessUnit);
    if (count == 0 && codec == VideoCodecAVC && isKeyFrame && !firstSps.empty() && !firstPps.empty())
        count = UnitsInCompleted(accessUnit);
    REQUIRE(count != 0);
    fed.erase(fed.begin(), fed.begin() + static_cast<ptrdiff_t>(count));
    wasReported = true;
}

void CUnitLedger::Flush()
{
    REQUIRE(
        std::all_of(fed.begin(), fed.end(), [this](Bytes unit) { return MayBeDropped(unit, wasReported); }));
    fed.clear();
    wasReported = false;
}
