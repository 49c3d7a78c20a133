// Loads the plug-in, and fails a test that leaves GStreamer objects behind (GStreamer's leaks tracer).

#include <gst/gst.h>
#include <gtest/gtest.h>

namespace {

// What the tracer knows to be alive; objects that GStreamer keeps until the end are not among it.
GstStructure* LiveObjects()
{
    GstStructure* objects = nullptr;
    GList* const tracers = gst_tracing_get_active_tracers();
    for (const GList* entry = tracers; entry != nullptr; entry = entry->next) {
        if (g_strcmp0(G_OBJECT_TYPE_NAME(entry->data), "GstLeaksTracer") == 0)
            g_signal_emit_by_name(entry->data, "get-live-objects", &objects);
    }
    g_list_free_full(tracers, gst_object_unref);
    return objects;
}

void Expect(GList* objects)
{
    for (const GList* entry = objects; entry != nullptr; entry = entry->next)
        GST_OBJECT_FLAG_SET(entry->data, GST_OBJECT_FLAG_MAY_BE_LEAKED);
    g_list_free_full(objects, gst_object_unref);
}

// The registry keeps the plug-ins that are loaded, and their factories.
void ExpectRegistry()
{
    Expect(gst_registry_get_plugin_list(gst_registry_get()));
    Expect(gst_registry_feature_filter(
        gst_registry_get(), [](GstPluginFeature*, gpointer) -> gboolean { return TRUE; }, FALSE, nullptr));
}

class CLeakCheck : public testing::EmptyTestEventListener
{
    void OnTestEnd(const testing::TestInfo&) override
    {
        gst_task_cleanup_all();
        ExpectRegistry();
        GstStructure* const structure = LiveObjects();
        ASSERT_NE(structure, nullptr) << "GST_TRACERS=leaks is not set";
        const GValue* const objects = gst_structure_get_value(structure, "live-objects-list");
        for (guint i = 0; i < gst_value_list_get_size(objects); ++i) {
            gchar* const text = gst_value_serialize(gst_value_list_get_value(objects, i));
            ADD_FAILURE() << "left behind: " << text;
            g_free(text);
        }
        gst_structure_free(structure);
    }
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    gst_init(&argc, &argv);
    GError* error = nullptr;
    GstPlugin* const plugin = gst_plugin_load_file(PLUGIN_FILE, &error);
    if (plugin == nullptr) {
        g_printerr("%s\n", error->message);
        return 1;
    }
    gst_object_unref(plugin);
    testing::UnitTest::GetInstance()->listeners().Append(new CLeakCheck);
    const int status = RUN_ALL_TESTS();
    gst_deinit();
    return status;
}
