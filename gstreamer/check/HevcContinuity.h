// Whether the pictures that an H.265 slice refers to have arrived (reference picture sets, ITU-T
// H.265 8.3.2). The library does not read them, so GStreamer's own parser reads the slice headers.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Continuity.h"

#define GST_USE_UNSTABLE_API  // the parser's interface may change with GStreamer's version
#include <gst/codecparsers/gsth265parser.h>

#include <set>
#include <vector>

namespace gstvp {

// A picture of the reference picture set. A long-term one may be known by its least significant bits only.
struct HevcReference
{
    gint64 orderCount;
    gint64 mask;
    bool isUsed;  // by the current picture; otherwise it is kept for a later one
};

class CHevcContinuity : public CContinuity
{
public:
    CHevcContinuity() : parser(gst_h265_parser_new()) {}
    ~CHevcContinuity() override { gst_h265_parser_free(parser); }
    CHevcContinuity(const CHevcContinuity&) = delete;
    CHevcContinuity& operator=(const CHevcContinuity&) = delete;

    ContinuityResult Test(const CAccessUnitHead& head) override;
    void Restart() override { isFirst = true; }

private:
    GstH265NalUnit Identify(const NalUnit& unit);
    ContinuityResult TestPicture(const GstH265NalUnit& unit, const GstH265SliceHdr& slice);
    gint64 OrderCountOf(const GstH265NalUnit& unit, const GstH265SliceHdr& slice);
    guint TakeReferences(const std::vector<HevcReference>& references);

    GstH265Parser* parser;

    std::set<gint64> available;     // picture order counts of the decoded picture buffer
    bool isFirst = true;            // all references of this picture are taken to be there
    bool isAfterBla = false;        // RASL pictures refer to what was before the splice (H.265 8.1.3)
    gint64 previousOrderCount = 0;  // of prevTid0Pic, H.265 8.3.1
};

}  // namespace gstvp
