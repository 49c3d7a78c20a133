#include "stream/SequenceReader.h"

#include <numeric>

namespace gstvp {

bool CSequenceReader::Begin(const CodecRules& rules)
{
    return ParseCreate(handle.Renew(), rules.codec, 0, 0) == 0;
}

// The flush makes the library report the access unit at once.
std::optional<SequenceFormat> CSequenceReader::Read(const CAccessUnitHead& head)
{
    VideoInfo early, info;
    const Bytes bytes = head.All();
    if (ParseVideoParams(handle, bytes.data(), static_cast<unsigned int>(bytes.size()), &early) != 0 ||
        ParseVideoParams(handle, nullptr, 0, &info) != 0 || !info.sequenceInfoValid)
        return std::nullopt;
    SequenceFormat format{.width = info.width, .height = info.height};
    const guint divisor = std::gcd(info.frameRateNumerator, info.frameRateDenominator);
    if (info.frameRateNumerator == 0 || info.frameRateDenominator == 0 ||
        info.frameRateNumerator / divisor > G_MAXINT || info.frameRateDenominator / divisor > G_MAXINT)
        return format;
    format.rateNumerator = static_cast<gint>(info.frameRateNumerator / divisor);
    format.rateDenominator = static_cast<gint>(info.frameRateDenominator / divisor);
    return format;
}

}  // namespace gstvp
