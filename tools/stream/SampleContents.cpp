#include "stream/SampleContents.h"

#include "stream/SeiUnit.h"

namespace tool {

namespace {

constexpr uint32_t RecoveryPoint = 6;  // payloadType, H.264 D.1.8 and H.265 D.2.8

bool RefersToOthers(const AccessUnit& picture)
{
    constexpr int32_t TypeI = 2;  // slice_type modulo 5, H.264 Table 7-6
    constexpr int32_t TypeSi = 4;
    const int32_t type = picture.slice_type % 5;
    return picture.slice_type >= 0 && type != TypeI && type != TypeSi;
}

}  // namespace

void CSampleContents::Take(const NalUnit& unit, UnitRole role, const AccessUnit& picture)
{
    if (unit.IsSei() && CSeiUnit(unit).Has(RecoveryPoint))
        hasRecoveryPoint = true;
    if (role != UnitRole::FirstSlice && role != UnitRole::FurtherSlice)
        return;
    hasIdr = hasIdr || unit.IsIdrSlice();
    hasIrap = hasIrap || unit.IsKeySlice();
    cannotStart = cannotStart || (unit.codec == VideoCodecAVC ? RefersToOthers(picture) : !unit.IsKeySlice());
    if (role == UnitRole::FirstSlice)
        ++(picture.isField ? fields : frames);
    else if (frames == 0 && fields == 0)
        isContinued = true;
}

std::optional<bool> CSampleContents::RequiredMark() const
{
    if (hasIdr)
        return true;
    if (hasIrap || hasRecoveryPoint || !cannotStart)
        return std::nullopt;
    return false;
}

}  // namespace tool
