// SPDX-License-Identifier: MIT

#pragma once

#include <gst/gst.h>

namespace gstvp {

constexpr auto WritableProperty =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);
constexpr auto ReadOnlyProperty = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);

}  // namespace gstvp
