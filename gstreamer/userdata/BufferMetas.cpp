#include "userdata/BufferMetas.h"

#include <gst/video/video-sei.h>

#include <algorithm>
#include <set>
#include <string_view>

namespace gstvp {

namespace {

std::string_view ViewOf(const Payload& payload)
{
    return {reinterpret_cast<const char*>(payload.data()), payload.size()};
}

}  // namespace

std::vector<Payload> ReadMetas(GstBuffer* buffer)
{
    std::vector<Payload> payloads;
    gpointer state = nullptr;
    while (const GstMeta* const meta = gst_buffer_iterate_meta_filtered(
               buffer, &state, GST_VIDEO_SEI_USER_DATA_UNREGISTERED_META_API_TYPE)) {
        const auto* const message = reinterpret_cast<const GstVideoSEIUserDataUnregisteredMeta*>(meta);
        if (std::equal(UserDataIdentifier.begin(), UserDataIdentifier.end(), message->uuid))
            payloads.emplace_back(message->data, message->data + message->size);
    }
    return payloads;
}

void AttachMeta(GstBuffer* buffer, const Payload& payload)
{
    if (payload.empty())
        return;
    auto identifier = UserDataIdentifier;
    auto bytes = payload;  // the function copies, but its parameters are not const
    gst_buffer_add_video_sei_user_data_unregistered_meta(buffer, identifier.data(), bytes.data(),
                                                         bytes.size());
}

std::vector<Payload> Without(const std::vector<Payload>& payloads, const std::vector<Payload>& known)
{
    std::multiset<std::string_view> left;
    for (const Payload& payload : known)
        left.insert(ViewOf(payload));
    std::vector<Payload> others;
    for (const Payload& payload : payloads) {
        const auto found = left.find(ViewOf(payload));
        if (found == left.end())
            others.push_back(payload);
        else
            left.erase(found);
    }
    return others;
}

}  // namespace gstvp
