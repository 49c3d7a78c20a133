// What the module offers to TypeScript besides the library's own functions, and what it asks of it.

#pragma once

#include "VideoParams.h"

#define EXPORT __attribute__((used, visibility("default")))

// Takes a completed access unit. Its bytes stay valid during the call.
extern "C" __attribute__((import_module("env"), import_name("TakeAccessUnit"))) void
TakeAccessUnit(const VideoInfo* info);
