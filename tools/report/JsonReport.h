// What all JSON results have in common: an object for each file, in an array if there are several files. The
// list of a command, such as the units, is written while the stream is read. docs/videoparams.schema.json
// describes every member.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Report.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>

namespace tool {

using Json = nlohmann::ordered_json;

class CJsonWriter
{
public:
    // Add appends to the array `listName`; empty: the report has no array.
    CJsonWriter(std::string command, std::string listName, const ReportStyle& style);

    void Begin(const SourceFacts& facts);
    void Add(const Json& item);
    void End(const Json& members = Json::object());
    void Fail(const std::string& name, const std::string& message);
    void Close() const;

private:
    void BeginObject(const std::string& name);
    void EndObject(const Json& members);

    std::string command;
    std::string listName;
    bool isArray;
    std::FILE* stream;
    bool isInObject = false;
    uint64_t objectCount = 0;
    uint64_t itemCount = 0;
};

// The JSON of one command derives from this and adds Add and End.
template <class Report>
class CJsonReport : public Report
{
public:
    using Report::Report;
    CJsonReport(const std::string& command, const std::string& listName, const ReportStyle& style)
        : writer(command, listName, style)
    {}

    void Begin(const SourceFacts& facts) override { writer.Begin(facts); }
    void Fail(const std::string& name, const std::string& message) override
    {
        writer.Fail(name, message);
        Report::Fail(name, message);
    }
    void Close() override { writer.Close(); }

protected:
    CJsonWriter writer;
};

// Without the digits that binary arithmetic adds: 1.6, not 1.6000000000000008.
Json Rounded(double value);
Json RoundedOrNull(const std::optional<double>& value);

// In one line. Bytes that are not UTF-8, for example in a file name, are replaced.
std::string Dump(const Json& json);

// "000001B3": two digits for each byte.
std::string Hex(std::span<const unsigned char> bytes);

}  // namespace tool
