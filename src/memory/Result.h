#pragma once

#include <cstdint>

namespace videoparams {

using Result = int64_t;

constexpr Result ResultOk = 0;
constexpr Result ResultFailed = -1;

}  // namespace videoparams
