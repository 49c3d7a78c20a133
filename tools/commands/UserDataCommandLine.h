// The command line of `userdata`.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "commands/Commands.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace tool {

class CUserDataCommandLine
{
public:
    // The subcommand that is given sets `action`.
    void AddTo(CLI::App& app, std::function<Status()>& action);

private:
    void AddAdd(CLI::App* userData, std::function<Status()>& action);
    void AddGet(CLI::App* userData, std::function<Status()>& action);
    void AddList(CLI::App* userData, std::function<Status()>& action);
    void AddRemove(CLI::App* userData, std::function<Status()>& action);

    UserDataAddOptions add;
    UserDataGetOptions get;
    UserDataListOptions list;
    UserDataRemoveOptions remove;
};

}  // namespace tool
