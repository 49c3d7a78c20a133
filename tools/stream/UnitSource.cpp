#include "stream/UnitSource.h"

#include "io/ToolError.h"

#include <fmt/format.h>
#include <unistd.h>

namespace tool {

void CUnitSource::ForEach(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped)
{
    for (const std::vector<unsigned char>& set : givenSets)
        takeUnit(NalUnit{Codec(), set.data(), static_cast<uint32_t>(set.size()), 0, 0, nullptr, true, true});
    ReadUnits(takeUnit, takeSkipped);
}

std::unique_ptr<CUnitSink> CUnitSource::OpenSink(OutputRequest request)
{
    interrupt.reset();
    RefuseIfIncomplete();
    return MakeSink(std::move(request));
}

void CUnitSource::PrintsLines()
{
    showsProgress = !isatty(STDOUT_FILENO);
}

void CUnitSource::RefuseIfIncomplete() const
{
    if (CInterrupt::IsRequested())
        throw CToolError(fmt::format("{}: ended by Ctrl-C; the output was not made", Name()));
    const std::vector<std::string> missing = counts.container.DescribeMissing();
    if (!missing.empty())
        throw CToolError(fmt::format("{}: {}; the output was not made", Name(), missing[0]));
}

}  // namespace tool
