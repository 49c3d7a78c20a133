// What `info` shows of a container: what it records, and where that disagrees with the stream.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/InfoReport.h"
#include "report/JsonReport.h"

namespace tool {

// Labels and texts, one line each; nothing for a byte stream.
InfoLines DescribeContainer(const InfoResult& result);

// null for a byte stream
Json ContainerToJson(const InfoResult& result);

// The times of an access unit, for the JSON of `info --units`; null if it has no sample.
Json TimesToJson(const AccessUnit& unit, const TimeBase& timeBase);

}  // namespace tool
