// Whether reference pictures are missing before a picture. One object for each stream.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/AccessUnitHead.h"

#include <memory>

namespace gstvp {

enum class ContinuityOutcome
{
    Continues,            // or nothing can be said
    ReferencesMissing,    // reported once for each gap
    ParameterSetsMissing  // the picture cannot be read
};

struct ContinuityResult
{
    ContinuityOutcome outcome = ContinuityOutcome::Continues;
    guint missingCount = 0;  // of pictures; 0: unknown
};

class CContinuity
{
public:
    virtual ~CContinuity() = default;

    // Every access unit with a slice, in decoding order.
    virtual ContinuityResult Test(const CAccessUnitHead& head) = 0;

    // The next picture need not continue the last one. Parameter sets stay known.
    virtual void Restart() = 0;
};

// The test for a codec.
std::unique_ptr<CContinuity> MakeContinuity(const CodecRules& rules);

}  // namespace gstvp
