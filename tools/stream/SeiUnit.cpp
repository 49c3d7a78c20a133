#include "stream/SeiUnit.h"

#include "bitstream/EmulationPrevention.h"
#include "userdata/SeiMessage.h"

#include <algorithm>

namespace tool {

namespace {

// H.265 D.3.1: a unit with one of these messages contains no user data. (Buffering period, picture timing,
// active parameter sets, decoding unit information.)
constexpr uint64_t MessagesOnTheirOwn[] = {0, 1, 129, 130};

std::vector<unsigned char> RbspOf(const unsigned char* body, size_t size)
{
    std::vector<unsigned char> rbsp(size);
    const auto bodySize = static_cast<uint32_t>(size);
    rbsp.resize(videoparams::RemoveEmulationPrevention(body, bodySize, bodySize, rbsp.data()));
    return rbsp;
}

std::vector<unsigned char> BodyOf(const std::vector<unsigned char>& rbsp)
{
    std::vector<unsigned char> body(rbsp.size() + rbsp.size() / 2 + 1);
    body.resize(
        videoparams::AddEmulationPrevention(rbsp.data(), static_cast<uint32_t>(rbsp.size()), body.data()));
    return body;
}

}  // namespace

std::span<const unsigned char> SeiMessageView::Identifier() const
{
    return payload.first(payload.size() < IdentifierSize ? 0 : IdentifierSize);
}

std::span<const unsigned char> SeiMessageView::UserData() const
{
    return payload.subspan(Identifier().size());
}

bool SeiMessageView::IsOfLibrary() const
{
    const std::span<const unsigned char> identifier = Identifier();
    return IsUserData() &&
           std::equal(identifier.begin(), identifier.end(), std::begin(videoparams::userDataIdentifier),
                      std::end(videoparams::userDataIdentifier));
}

uint32_t TrailingZeros(const NalUnit& unit)
{
    const uint32_t headerEnd = unit.StartCodeLength() + unit.HeaderLength();
    uint32_t end = unit.size;
    while (end > headerEnd && unit.data[end - 1] == 0)
        --end;
    return unit.size - end;
}

CSeiUnit::CSeiUnit(const NalUnit& given)
    : unit(given), trailingZeros(TrailingZeros(given)),
      rbsp(RbspOf(given.Header(), given.size - trailingZeros - given.StartCodeLength()))
{
    const auto rbspSize = static_cast<uint32_t>(rbsp.size());
    videoparams::CSeiMessageWalk walk(rbsp.data(), rbspSize, unit.HeaderLength());
    for (videoparams::SeiMessage message; walk.Next(message);) {
        const auto begin = static_cast<size_t>(message.data - rbsp.data());
        const auto payload = static_cast<size_t>(message.payload - rbsp.data());
        messages.push_back({message.payloadType, begin, payload, begin + message.length});
    }
}

SeiMessageView CSeiUnit::Message(size_t index) const
{
    const Place& place = messages[index];
    return {place.payloadType, std::span(rbsp).subspan(place.payload, place.end - place.payload)};
}

bool CSeiUnit::Has(uint64_t payloadType) const
{
    return std::any_of(messages.begin(), messages.end(),
                       [&](const Place& place) { return place.payloadType == payloadType; });
}

// The messages fill the unit up to rbsp_trailing_bits().
bool CSeiUnit::IsComplete() const
{
    return !messages.empty() && messages.back().end + 1 == rbsp.size() &&
           rbsp.back() == videoparams::TrailingByte;
}

bool CSeiUnit::TakesMessage() const
{
    if (!unit.IsSei() || unit.ForbiddenZeroBit() || unit.LayerId() != 0 || !IsComplete())
        return false;
    const auto isOnItsOwn = [this](const Place& place) {
        return unit.codec == VideoCodecHEVC &&
               std::count(std::begin(MessagesOnTheirOwn), std::end(MessagesOnTheirOwn), place.payloadType) !=
                   0;
    };
    if (std::any_of(messages.begin(), messages.end(), isOnItsOwn))
        return false;
    const auto body = BodyOf(rbsp);
    return std::equal(body.begin(), body.end(), unit.Header(), unit.data + unit.size - trailingZeros);
}

std::vector<unsigned char>
CSeiUnit::Without(const std::function<bool(const SeiMessageView&)>& isRemoved) const
{
    std::vector<unsigned char> kept = rbsp;
    size_t left = messages.size();
    for (size_t i = messages.size(); i-- > 0;) {
        if (!isRemoved(Message(i)))
            continue;
        const auto begin = kept.begin() + static_cast<ptrdiff_t>(messages[i].begin);
        kept.erase(begin, begin + static_cast<ptrdiff_t>(messages[i].end - messages[i].begin));
        --left;
    }
    if (left == messages.size())
        return {unit.data, unit.data + unit.size};
    if (left == 0 && IsComplete())
        return {};
    std::vector<unsigned char> copy(unit.data, unit.Header());
    const std::vector<unsigned char> body = BodyOf(kept);
    copy.insert(copy.end(), body.begin(), body.end());
    copy.insert(copy.end(), trailingZeros, 0);
    return copy;
}

}  // namespace tool
