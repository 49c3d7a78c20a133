#include "stream/ContainerEnd.h"

#include <fmt/format.h>

namespace tool {

std::vector<std::string> ContainerEnd::DescribeMissing() const
{
    std::vector<std::string> texts;
    if (missingSamples != 0)
        texts.push_back(fmt::format("the file is cut short: {} of {} samples are missing", missingSamples,
                                    missingSamples + samples));
    else if (!cut.empty())
        texts.push_back(fmt::format("the file is cut short after {} samples: {}", samples, cut));
    if (!error.empty())
        texts.push_back(fmt::format("reading ended after {} samples: {}", samples, error));
    return texts;
}

}  // namespace tool
