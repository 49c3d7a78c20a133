#include "stream/AnnexBSource.h"

namespace tool {

std::unique_ptr<CUnitSource> OpenSource(const SourceOptions& options)
{
    return std::make_unique<CAnnexBSource>(options);
}

}  // namespace tool
