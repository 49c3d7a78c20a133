// How the tool ends: its statuses, and the exception that carries an error to the one place that prints it.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <stdexcept>

namespace tool {

enum Status
{
    StatusGood = 0,
    StatusFound = 1,   // the stream is damaged, a check found something, or there was nothing to get
    StatusFailed = 2,  // nothing or not all could be done
};

class CToolError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

}  // namespace tool
