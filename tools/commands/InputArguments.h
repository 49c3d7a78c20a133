// Arguments that several commands have.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "commands/Commands.h"

#include <CLI/CLI.hpp>

namespace tool {

// FILE..., --codec and --stream
void AddFiles(CLI::App* command, InputOptions& options);

// The same with a single FILE.
void AddFile(CLI::App* command, SourceOptions& options);

// --params
void AddSets(CLI::App* command, SourceOptions& options);

void AddForce(CLI::App* command, bool& force);

}  // namespace tool
