// Writes the inspector page with the results of one stream. The built page has an empty element for them:
//
//     <script type="application/json" id="embedded">null</script>
//
// In its place come elements with the records and the bytes of the stream (base64, in blocks), and then the
// element with the JSON.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "inspect/Inspection.h"
#include "io/OutputFile.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Whether a file is an inspector page, built or written, by its first bytes.
bool LooksLikeInspectorPage(std::string_view start);

class CPageWriter
{
public:
    // `page` is the text of the built page. Throws CToolError if it is none.
    CPageWriter(const std::string& page, const OutputRequest& request);

    void Add(std::span<const UnitRecord> records);
    void Add(std::span<const AccessUnitRecord> records);

    // Bytes of the stream, in order. A long stream is left out: a browser would not open the page.
    void AddStream(std::span<const unsigned char> bytes);

    bool HasStream() const { return hasStream; }
    void Commit(const Json& header);

private:
    // Bytes of one kind, until they are a block.
    struct Part
    {
        const char* name;
        std::vector<unsigned char> bytes{};
    };

    void Add(Part& part, std::span<const unsigned char> bytes);
    void WriteBlock(Part& part);

    COutputFile output;
    std::string end;  // what follows the results
    Part units{"units"};
    Part accessUnits{"access-units"};
    std::vector<unsigned char> stream;
    bool hasStream = true;
};

}  // namespace tool
