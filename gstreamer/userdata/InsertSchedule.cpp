#include "userdata/InsertSchedule.h"

namespace gstvp {

bool CInsertSchedule::IsPictureDue(InsertWhere where, gint64 interval, bool isKey, std::optional<gint64> time)
{
    switch (where) {
    case InsertWhereKey:
        return isKey;
    case InsertWhereInterval:
        return HasIntervalPassed(interval, time);
    default:
        return true;
    }
}

// Due times are whole intervals apart, so that the mean rate is right whatever the distance of the pictures.
// A jump of the timestamps, forward or back, begins anew.
bool CInsertSchedule::HasIntervalPassed(gint64 interval, std::optional<gint64> time)
{
    if (!time)
        return true;
    const bool isContinued = due && *time < *due + interval && *time >= *due - interval;
    if (isContinued && *time < *due)
        return false;
    due = (isContinued ? *due : *time) + interval;
    return true;
}

}  // namespace gstvp
