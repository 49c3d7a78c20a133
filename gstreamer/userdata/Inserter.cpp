#include "userdata/Inserter.h"

#include <algorithm>

namespace gstvp {

namespace {

// The library sees a start code if five bytes follow its first zero. It gets as little of the slice as that:
// units after it are none of its business.
constexpr size_t SliceBytes = 8;

}  // namespace

bool CInserter::Begin(const CodecRules& rules)
{
    return UserDataCreate(handle.Renew(), rules.codec) == 0;
}

bool CInserter::Insert(const CAccessUnitHead& head, const std::vector<Payload>& messages,
                       std::vector<guint8>& edited)
{
    const Bytes all = head.All();
    const Bytes slice = head.FirstSlice().bytes;
    const size_t sliceStart = all.size() - slice.size();
    const Bytes searched = all.first(sliceStart + std::min(slice.size(), SliceBytes));
    const Bytes rest = all.subspan(searched.size());
    const bool hasUnits = !head.LeadingUnits().empty();
    const size_t firstUnit =
        hasUnits ? static_cast<size_t>(head.LeadingUnits()[0].bytes.data() - all.data()) : sliceStart;

    input.assign(searched.begin() + static_cast<std::ptrdiff_t>(firstUnit), searched.end());
    for (const Payload& message : messages) {
        if (input.size() > G_MAXUINT32 || message.size() > G_MAXUINT32)
            return false;
        const guint8* output = nullptr;
        unsigned int outputSize = 0;
        if (AddUserData(handle, input.data(), static_cast<unsigned int>(input.size()), message.data(),
                        static_cast<unsigned int>(message.size()), &output, &outputSize) != 0)
            return false;
        input.assign(output, output + outputSize);
    }
    edited.assign(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(firstUnit));
    edited.insert(edited.end(), input.begin(), input.end());
    edited.insert(edited.end(), rest.begin(), rest.end());
    return true;
}

}  // namespace gstvp
