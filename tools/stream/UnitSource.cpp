#include "stream/UnitSource.h"

#include "io/ToolError.h"

#include <fmt/format.h>

namespace tool {

void CUnitSource::RefuseIfIncomplete() const
{
    const ContainerEnd& end = counts.container;
    if (!end.error.empty())
        throw CToolError(fmt::format("{}: reading ended after {} samples: {}; the output was not made",
                                     Name(), end.samples, end.error));
    if (end.missingSamples != 0)
        throw CToolError(
            fmt::format("{}: the file is cut short, {} of {} samples are missing; the output was not made",
                        Name(), end.missingSamples, end.missingSamples + end.samples));
}

}  // namespace tool
