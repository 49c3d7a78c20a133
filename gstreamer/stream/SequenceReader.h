// Picture size and frame rate, as the library reads them.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/AccessUnitHead.h"
#include "stream/Handle.h"

#include <optional>

namespace gstvp {

struct SequenceFormat
{
    guint width = 0;
    guint height = 0;
    // Frames per second, in lowest terms; 0/1 if the stream does not say.
    gint rateNumerator = 0;
    gint rateDenominator = 1;

    bool operator==(const SequenceFormat&) const = default;
};

class CSequenceReader
{
public:
    // False: out of memory.
    [[nodiscard]] bool Begin(const CodecRules& rules);
    void End() { handle.Release(); }

    // None for a picture that does not carry it. Of several sequence parameter sets in one access unit, the
    // last one counts.
    std::optional<SequenceFormat> Read(const CAccessUnitHead& head);

private:
    CParseHandle handle;
};

}  // namespace gstvp
