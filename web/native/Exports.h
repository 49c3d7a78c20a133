// What the module offers to TypeScript besides the library's own functions, and what it asks of it.

#pragma once

#include "VideoParams.h"

#define EXPORT __attribute__((used, visibility("default")))

// Takes a completed access unit. Its bytes stay valid during the call. They are also in the stream,
// `distance` bytes before the end of what was taken so far; 0: they are not, or nobody can say.
extern "C" __attribute__((import_module("env"), import_name("TakeAccessUnit"))) void
TakeAccessUnit(const VideoInfo* info, uint32_t distance);
