#include "elements/InsertElement.h"

#include "userdata/BufferMetas.h"

#include <algorithm>

#define GST_CAT_DEFAULT gst_vp_debug

namespace gstvp {

namespace {

Payload PayloadOfBytes(GBytes* bytes)
{
    gsize size = 0;
    const auto* const data = static_cast<const guint8*>(g_bytes_get_data(bytes, &size));
    return Payload(data, data + size);
}

}  // namespace

void CInsertElement::SetProperty(guint id, const GValue* value)
{
    const std::lock_guard lock(mutex);
    switch (id) {
    case InsertPropertyText:
        settings.text.reset();
        if (const char* const text = g_value_get_string(value))
            settings.text = text;
        break;
    case InsertPropertyData:
        settings.data.reset();
        if (auto* const bytes = static_cast<GBytes*>(g_value_get_boxed(value)))
            settings.data = PayloadOfBytes(bytes);
        break;
    case InsertPropertyTimestamp:
        settings.timestamp = static_cast<StampSource>(g_value_get_enum(value));
        break;
    case InsertPropertyWhere:
        settings.where = static_cast<InsertWhere>(g_value_get_enum(value));
        break;
    case InsertPropertyInterval:
        settings.intervalMilliseconds = g_value_get_uint(value);
        break;
    case InsertPropertyMaxQueued:
        queue.SetLimit(g_value_get_uint(value));
        break;
    }
}

void CInsertElement::GetProperty(guint id, GValue* value)
{
    const InsertSettings now = Settings();
    switch (id) {
    case InsertPropertyText:
        if (now.text)
            g_value_set_string(value, now.text->c_str());
        break;
    case InsertPropertyData:
        if (now.data)
            g_value_take_boxed(value, g_bytes_new(now.data->data(), now.data->size()));
        break;
    case InsertPropertyTimestamp:
        g_value_set_enum(value, now.timestamp);
        break;
    case InsertPropertyWhere:
        g_value_set_enum(value, now.where);
        break;
    case InsertPropertyInterval:
        g_value_set_uint(value, now.intervalMilliseconds);
        break;
    case InsertPropertyMaxQueued:
        g_value_set_uint(value, queue.Limit());
        break;
    }
}

InsertSettings CInsertElement::Settings()
{
    const std::lock_guard lock(mutex);
    return settings;
}

bool CInsertElement::Push(GBytes* bytes)
{
    return g_bytes_get_size(bytes) <= G_MAXUINT32 && queue.Push(PayloadOfBytes(bytes));
}

bool CInsertElement::Begin(const CodecRules& codecRules)
{
    rules = &codecRules;
    schedule.Reset();
    return inserter.Begin(codecRules);
}

void CInsertElement::Flush()
{
    schedule.Reset();
    queue.Clear();
}

void CInsertElement::Stop()
{
    Flush();
    inserter.End();
}

// Each insertion copies the head. So that a hostile stream cannot make that take long, the number is limited.
std::vector<Payload> CInsertElement::CarriedMessages(const CAccessUnitHead& head, GstBuffer* buffer)
{
    std::vector<Payload> messages = ReadMetas(buffer);
    if (!messages.empty())
        messages = Without(messages, ReadMessages(head));
    if (messages.size() > queue.Limit()) {
        GST_WARNING_OBJECT(owner, "more than max-queued metas: the last ones are not carried");
        messages.resize(queue.Limit());
    }
    return messages;
}

void CInsertElement::AddOwnMessages(const CAccessUnitHead& head, GstBuffer* buffer,
                                    std::vector<Payload>& messages)
{
    const InsertSettings now = Settings();
    const auto interval = static_cast<gint64>(now.intervalMilliseconds * GST_MSECOND);
    const auto time = RunningTimeOf(owner->segment, GST_BUFFER_DTS_OR_PTS(buffer));
    if (!schedule.IsPictureDue(now.where, interval, head.IsKey(), time))
        return;
    if (now.text)
        messages.emplace_back(now.text->begin(), now.text->end());
    if (now.data)
        messages.push_back(*now.data);
    const std::optional<Stamp> stamp = MakeStamp(now.timestamp, owner->segment, buffer);
    if (stamp) {
        Payload payload(VIDEOPARAMS_TIMESTAMP_SIZE);
        VideoParamsWriteTimestamp(payload.data(), static_cast<VideoParamsClock>(stamp->clock),
                                  stamp->nanoseconds);
        messages.push_back(std::move(payload));
    } else if (now.timestamp != StampSourceNone) {
        GST_DEBUG_OBJECT(owner, "no timestamp for %" GST_PTR_FORMAT, buffer);
    }
}

GstBuffer* CInsertElement::Take(GstBuffer* buffer)
{
    std::vector<guint8> edited;
    size_t replacedSize = 0;
    const std::vector<Payload> pushed = queue.Messages();
    {
        const CAccessUnitHead head(*rules, buffer);
        if (!head.HasSlice())
            return buffer;
        std::vector<Payload> messages = CarriedMessages(head, buffer);
        messages.insert(messages.end(), pushed.begin(), pushed.end());
        AddOwnMessages(head, buffer, messages);
        if (messages.empty())
            return buffer;
        if (!inserter.Insert(head, messages, edited)) {
            GST_WARNING_OBJECT(owner, "no place for user data in %" GST_PTR_FORMAT, buffer);
            return buffer;
        }
        replacedSize = head.All().size();
    }
    if (ReplaceHead(buffer, replacedSize, edited))
        queue.Drop(pushed.size());
    else
        GST_WARNING_OBJECT(owner, "out of memory: no user data in %" GST_PTR_FORMAT, buffer);
    return buffer;
}

}  // namespace gstvp
