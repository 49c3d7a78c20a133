// Which pictures get the element's own message.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <optional>

namespace gstvp {

enum InsertWhere
{
    InsertWhereEvery,
    InsertWhereKey,
    InsertWhereInterval
};

class CInsertSchedule
{
public:
    // One call for each picture, in decoding order. `interval` and `time` in ns; a picture without a time is
    // due.
    bool IsPictureDue(InsertWhere where, gint64 interval, bool isKey, std::optional<gint64> time);
    void Reset() { due.reset(); }

private:
    bool HasIntervalPassed(gint64 interval, std::optional<gint64> time);

    std::optional<gint64> due;
};

}  // namespace gstvp
