#include "elements/ExtractElement.h"

#define GST_CAT_DEFAULT gst_vp_debug

namespace gstvp {

namespace {

constexpr gint NoClock = -1;

std::optional<Stamp> ReadStamp(const Payload& message)
{
    Stamp stamp{};
    if (!VideoParamsReadTimestamp(message.data(), message.size(), &stamp.clock, &stamp.nanoseconds))
        return std::nullopt;
    return stamp;
}

// Bytes that print as text get a field of their own, for those who read messages in a terminal.
void AddText(GstStructure* structure, const Payload& message)
{
    const auto* const text = reinterpret_cast<const char*>(message.data());
    if (message.empty() || !g_utf8_validate_len(text, message.size(), nullptr))
        return;
    gchar* const terminated = g_strndup(text, message.size());
    gst_structure_set(structure, "text", G_TYPE_STRING, terminated, nullptr);
    g_free(terminated);
}

GstStructure* MakeReport(GBytes* bytes, const Payload& message, GstClockTime pts,
                         const std::optional<Stamp>& stamp, std::optional<gint64> age)
{
    GstStructure* const structure =
        gst_structure_new("vpuserdata", "data", G_TYPE_BYTES, bytes, "pts", G_TYPE_UINT64, pts, nullptr);
    if (stamp)
        gst_structure_set(structure, "clock", G_TYPE_STRING, NameOfClock(stamp->clock), "timestamp",
                          G_TYPE_INT64, stamp->nanoseconds, nullptr);
    else
        AddText(structure, message);
    if (age)
        gst_structure_set(structure, "latency", G_TYPE_INT64, *age, nullptr);
    return structure;
}

}  // namespace

void CExtractElement::SetProperty(guint id, const GValue* value)
{
    const std::lock_guard lock(mutex);
    switch (id) {
    case ExtractPropertyRemove:
        settings.isRemoving = g_value_get_boolean(value) != FALSE;
        break;
    case ExtractPropertyPostMessages:
        settings.isPosting = g_value_get_boolean(value) != FALSE;
        break;
    case ExtractPropertyReferenceClock:
        settings.referenceClock = static_cast<ReferenceClock>(g_value_get_enum(value));
        break;
    }
}

void CExtractElement::GetProperty(guint id, GValue* value)
{
    const ExtractSettings now = Settings();
    switch (id) {
    case ExtractPropertyRemove:
        g_value_set_boolean(value, now.isRemoving);
        break;
    case ExtractPropertyPostMessages:
        g_value_set_boolean(value, now.isPosting);
        break;
    case ExtractPropertyReferenceClock:
        g_value_set_enum(value, now.referenceClock);
        break;
    case ExtractPropertyStats:
        g_value_take_boxed(value, Stats());
        break;
    }
}

ExtractSettings CExtractElement::Settings()
{
    const std::lock_guard lock(mutex);
    return settings;
}

GstStructure* CExtractElement::Stats()
{
    const std::lock_guard lock(mutex);
    GstStructure* const stats =
        gst_structure_new("vpuserdataextract-stats", "count", G_TYPE_UINT64, counts.messages, "timestamps",
                          G_TYPE_UINT64, counts.timestamps, nullptr);
    if (counts.latency.Count() > 0)
        gst_structure_set(stats, "latency-last", G_TYPE_INT64, counts.latency.Last(), "latency-min",
                          G_TYPE_INT64, counts.latency.Min(), "latency-mean", G_TYPE_INT64,
                          counts.latency.Mean(), "latency-p99", G_TYPE_INT64, counts.latency.Percentile99(),
                          "latency-max", G_TYPE_INT64, counts.latency.Max(), nullptr);
    return stats;
}

void CExtractElement::Start()
{
    const std::lock_guard lock(mutex);
    counts = ExtractCounts();
}

bool CExtractElement::Begin(const CodecRules& codecRules)
{
    rules = &codecRules;
    return true;
}

GstBuffer* CExtractElement::Take(GstBuffer* buffer)
{
    const ExtractSettings now = Settings();
    std::vector<Payload> messages;
    std::vector<guint8> edited;
    size_t replacedSize = 0;
    {
        const CAccessUnitHead head(*rules, buffer);
        messages = ReadMessages(head);
        if (messages.empty())
            return buffer;
        if (now.isRemoving)
            edited = WithoutMessages(head);
        replacedSize = head.All().size();
    }
    if (now.isRemoving && !ReplaceHead(buffer, replacedSize, edited))
        GST_WARNING_OBJECT(owner, "out of memory: user data stays in %" GST_PTR_FORMAT, buffer);
    AttachMetas(buffer, messages);
    for (const Payload& message : messages)
        Report(message, GST_BUFFER_PTS(buffer), now);
    return buffer;
}

void CExtractElement::AttachMetas(GstBuffer*& buffer, const std::vector<Payload>& messages)
{
    const std::vector<Payload> missing = Without(messages, ReadMetas(buffer));
    if (missing.empty())
        return;
    buffer = gst_buffer_make_writable(buffer);
    for (const Payload& message : missing)
        AttachMeta(buffer, message);
}

// The application is called without the lock, so that it may read properties.
void CExtractElement::Report(const Payload& message, GstClockTime pts, const ExtractSettings& now)
{
    const std::optional<Stamp> stamp = ReadStamp(message);
    const std::optional<gint64> age = stamp ? AgeOf(*stamp, now.referenceClock, owner) : std::nullopt;
    {
        const std::lock_guard lock(mutex);
        ++counts.messages;
        counts.timestamps += stamp ? 1 : 0;
        if (age)
            counts.latency.Add(*age);
    }
    GBytes* const bytes = g_bytes_new(message.data(), message.size());
    g_signal_emit(owner, signal, 0, bytes, pts, stamp ? static_cast<gint>(stamp->clock) : NoClock,
                  stamp ? stamp->nanoseconds : gint64{0});
    if (now.isPosting)
        gst_element_post_message(
            owner, gst_message_new_element(GST_OBJECT(owner), MakeReport(bytes, message, pts, stamp, age)));
    g_bytes_unref(bytes);
}

}  // namespace gstvp
