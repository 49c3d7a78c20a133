#include "commands/Commands.h"
#include "io/OutputFile.h"
#include "report/Message.h"
#include "stream/ParameterSetId.h"
#include "stream/UnitSource.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <vector>

namespace tool {

namespace {

// A stream that changes all the time is told in short.
constexpr uint64_t MaxPrinted = 1000;

// pic_parameter_set_id has the widest range. Beyond it a unit is broken.
constexpr uint32_t MaxId = 255;

struct ParameterSet
{
    std::vector<unsigned char> first;
    std::vector<unsigned char> last;
    uint64_t count = 0;
    uint64_t changes = 0;
};

const char* KindOf(const NalUnit& unit)
{
    if (unit.IsVps())
        return "VPS";
    if (unit.IsSps())
        return "SPS";
    return unit.IsPps() ? "PPS" : nullptr;
}

// Zeros in front of the next start code are no part of the set.
std::vector<unsigned char> BytesOf(const NalUnit& unit)
{
    const unsigned char* end = unit.data + unit.size;
    while (end > unit.Header() + unit.HeaderLength() && end[-1] == 0)
        --end;
    return {unit.data, end};
}

// Compared behind the start code, which may differ in length.
bool IsSameSet(const std::vector<unsigned char>& one, const std::vector<unsigned char>& other)
{
    const auto header = [](const std::vector<unsigned char>& bytes) {
        return bytes.begin() + (bytes[2] == 1 ? 3 : 4);
    };
    return std::equal(header(one), one.end(), header(other), other.end());
}

class CParameterSets
{
public:
    explicit CParameterSets(bool list) : listsSets(list) {}

    void Take(const NalUnit& unit);
    void PrintSummary() const;
    void Write(const std::string& path) const;

    bool IsEmpty() const { return sets.empty(); }
    uint64_t Changes() const { return changes; }

private:
    void Print(const char* kind, uint32_t id, const char* what, const NalUnit& unit,
               const std::vector<unsigned char>& bytes);

    // In the order of first appearance.
    std::vector<std::pair<std::string, ParameterSet>> sets;
    std::map<std::string, size_t> places;
    bool listsSets;
    uint64_t printed = 0;
    uint64_t changes = 0;
};

void CParameterSets::Take(const NalUnit& unit)
{
    const char* const kind = KindOf(unit);
    if (kind == nullptr)
        return;
    const uint32_t id = ReadParameterSetId(unit);
    if (id > MaxId)
        return;
    const std::string key = fmt::format("{} {}", kind, id);
    const auto [place, isNew] = places.try_emplace(key, sets.size());
    if (isNew)
        sets.emplace_back(key, ParameterSet{});
    ParameterSet& set = sets[place->second].second;
    std::vector<unsigned char> bytes = BytesOf(unit);
    ++set.count;
    if (isNew) {
        Print(kind, id, "", unit, bytes);
        set.first = bytes;
        set.last = std::move(bytes);
    } else if (!IsSameSet(set.last, bytes)) {
        ++set.changes;
        ++changes;
        Print(kind, id, "  changed", unit, bytes);
        set.last = std::move(bytes);
    }
}

void CParameterSets::Print(const char* kind, uint32_t id, const char* what, const NalUnit& unit,
                           const std::vector<unsigned char>& bytes)
{
    if (!listsSets || ++printed > MaxPrinted)
        return;
    fmt::print("{} {}  unit {}  offset {}  {} bytes{}\n", kind, id, unit.number, unit.offset, bytes.size(),
               what);
    for (size_t i = 0; i < bytes.size(); ++i)
        fmt::print("{}{:02X}", i % 32 == 0 ? (i == 0 ? "  " : "\n  ") : " ", bytes[i]);
    fmt::print("\n");
}

void CParameterSets::PrintSummary() const
{
    if (printed > MaxPrinted)
        fmt::print("... and {} more\n", printed - MaxPrinted);
    for (const auto& [name, set] : sets) {
        const std::string change =
            set.changes == 0 ? "never changes"
                             : fmt::format("CHANGES {}: a handle of the library holds the first one",
                                           CountOf(set.changes, "time"));
        fmt::print("{}: {} in the stream, {}\n", name, CountOf(set.count, "time"), change);
    }
}

void CParameterSets::Write(const std::string& path) const
{
    COutputFile output(path);
    for (const auto& [name, set] : sets)
        output.Write(set.first.data(), set.first.size());
    output.Commit();
}

}  // namespace

Status RunParams(const ParamsOptions& options)
{
    CUnitSource source(options.file, options.codec);
    CParameterSets sets(options.outputFile.empty());
    if (options.outputFile.empty())
        source.PrintsLines();
    source.ForEach([&](const NalUnit& unit) {
        if (!unit.ForbiddenZeroBit())
            sets.Take(unit);
    });
    if (sets.IsEmpty())
        throw CToolError(fmt::format("{}: there is no parameter set in it", source.Name()));
    if (options.outputFile.empty()) {
        sets.PrintSummary();
        return StatusGood;
    }
    sets.Write(options.outputFile);
    if (sets.Changes() != 0)
        Complain(fmt::format("{}: the parameter sets change {}; the first ones were written", source.Name(),
                             CountOf(sets.Changes(), "time")));
    return StatusGood;
}

}  // namespace tool
