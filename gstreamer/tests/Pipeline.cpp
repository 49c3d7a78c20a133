#include "Pipeline.h"

#include <gtest/gtest.h>

namespace gsttest {

namespace {

constexpr GstClockTime Patience = 60 * GST_SECOND;

using BufferFunction = std::function<void(GstBuffer*)>;

GstPadProbeReturn CallFunction(GstPad*, GstPadProbeInfo* info, gpointer function)
{
    (*static_cast<BufferFunction*>(function))(GST_PAD_PROBE_INFO_BUFFER(info));
    return GST_PAD_PROBE_OK;
}

}  // namespace

CPipeline::CPipeline(const std::string& description)
{
    GError* error = nullptr;
    pipeline.reset(gst_parse_launch(description.c_str(), &error));
    EXPECT_EQ(error, nullptr) << error->message;
    g_clear_error(&error);
}

CPipeline::~CPipeline()
{
    SetState(GST_STATE_NULL);
}

void CPipeline::SetState(GstState state)
{
    EXPECT_NE(gst_element_set_state(Get(), state), GST_STATE_CHANGE_FAILURE);
}

bool CPipeline::AwaitState()
{
    const GstStateChangeReturn result = gst_element_get_state(Get(), nullptr, nullptr, Patience);
    return result == GST_STATE_CHANGE_SUCCESS || result == GST_STATE_CHANGE_NO_PREROLL;
}

void CPipeline::RunToEnd()
{
    SetState(GST_STATE_PLAYING);
    AwaitEnd();
}

void CPipeline::AwaitEnd()
{
    GstBus* const bus = gst_element_get_bus(Get());
    const Message message(gst_bus_timed_pop_filtered(
        bus, Patience, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    gst_object_unref(bus);
    ASSERT_NE(message, nullptr) << "no end within " << Patience / GST_SECOND << " s";
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS)
        return;
    GError* error = nullptr;
    gst_message_parse_error(message.get(), &error, nullptr);
    ADD_FAILURE() << error->message;
    g_error_free(error);
}

GstElement* CPipeline::Find(const char* name)
{
    GstElement* const element = gst_bin_get_by_name(GST_BIN(Get()), name);
    gst_object_unref(element);
    return element;
}

Structure CPipeline::Stats(const char* name)
{
    GstStructure* stats = nullptr;
    g_object_get(Find(name), "stats", &stats, nullptr);
    return Structure(stats);
}

void CPipeline::Watch(const char* element, const char* pad, BufferFunction function)
{
    GstPad* const watched = gst_element_get_static_pad(Find(element), pad);
    gst_pad_add_probe(watched, GST_PAD_PROBE_TYPE_BUFFER, CallFunction,
                      new BufferFunction(std::move(function)),
                      [](gpointer data) { delete static_cast<BufferFunction*>(data); });
    gst_object_unref(watched);
}

}  // namespace gsttest
