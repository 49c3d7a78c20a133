// The bytes that `userdata add` puts into an access unit.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "commands/Commands.h"

namespace tool {

class CUserDataPayload
{
public:
    // Reads the file of --data. Throws CToolError.
    explicit CUserDataPayload(const UserDataAddOptions& options, const SourceFacts& facts);

    // For the access unit of this slice. Valid until the next call. Throws CToolError.
    const std::string& For(const NalUnit& slice);

private:
    int64_t ReadClock(const NalUnit& slice) const;

    std::optional<VideoParamsClock> clock;
    SourceFacts facts;
    std::string bytes;
};

}  // namespace tool
