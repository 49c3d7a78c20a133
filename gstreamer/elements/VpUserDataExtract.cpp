/**
 * SECTION:element-vpuserdataextract
 * @title: vpuserdataextract
 *
 * Reports the user data that vpuserdatainsert, or any other user of VideoParams, put into an H.264 or H.265
 * stream: by the signal #GstVpUserDataExtract::user-data, by an element message and by a
 * #GstVideoSEIUserDataUnregisteredMeta on the buffer. The message is a structure `vpuserdata`:
 *
 * - `data` (#GBytes), `pts` (#guint64);
 * - `text` (#gchararray) if the bytes are UTF-8;
 * - `clock` (#gchararray) and `timestamp` (#gint64, ns) if the bytes are a timestamp;
 * - `latency` (#gint64, ns) if the clock can be read here.
 *
 * #GstVpUserDataExtract:stats has `count`, `timestamps` and, once there was a latency, `latency-last`,
 * `latency-min`, `latency-mean`, `latency-p99` and `latency-max` in ns.
 *
 * ## Example launch line
 * |[
 * gst-launch-1.0 -m filesrc location=stamped.h264 ! h264parse ! vpuserdataextract ! fakesink
 * ]|
 */

#include "elements/ExtractElement.h"
#include "elements/PropertyFlags.h"
#include "elements/VpTransform.h"

using namespace gstvp;

struct GstVpUserDataExtract
{
    GstVpTransform parent;
};

struct GstVpUserDataExtractClass
{
    GstVpTransformClass parent_class;
};

static guint user_data_signal;

static GType gst_vp_user_data_extract_get_type(void);
G_DEFINE_TYPE(GstVpUserDataExtract, gst_vp_user_data_extract, GST_TYPE_VP_TRANSFORM)
GST_ELEMENT_REGISTER_DEFINE(vpuserdataextract, "vpuserdataextract", GST_RANK_NONE,
                            gst_vp_user_data_extract_get_type())

static void gst_vp_user_data_extract_init(GstVpUserDataExtract* self)
{
    self->parent.element = new CExtractElement(GST_ELEMENT(self), user_data_signal);
}

static GType reference_clock_get_type(void)
{
    static const GEnumValue values[] = {
        {ReferenceClockUnknown, "Unknown: no latency", "unknown"},
        {ReferenceClockUnix, "UTC since 1970 (timestamp/x-unix)", "unix"},
        {ReferenceClockNtp, "UTC since 1900 (timestamp/x-ntp)", "ntp"},
        {ReferenceClockPipeline, "The pipeline's clock, shared by sender and receiver", "pipeline"},
        {0, nullptr, nullptr},
    };
    static const GType type = g_enum_register_static("GstVpReferenceClock", values);
    return type;
}

static void install_properties(GObjectClass* klass)
{
    gst_vp_transform_class_forward_properties(klass);
    g_object_class_install_property(klass, ExtractPropertyRemove,
                                    g_param_spec_boolean("remove", "Remove",
                                                         "Take the messages out of the stream", FALSE,
                                                         WritableProperty));
    g_object_class_install_property(klass, ExtractPropertyPostMessages,
                                    g_param_spec_boolean("post-messages", "Post messages",
                                                         "Post an element message for each message found",
                                                         TRUE, WritableProperty));
    g_object_class_install_property(
        klass, ExtractPropertyReferenceClock,
        g_param_spec_enum("reference-clock", "Reference clock",
                          "What reference timestamps count, to compute their latency",
                          reference_clock_get_type(), ReferenceClockUnknown, WritableProperty));
    g_object_class_install_property(
        klass, ExtractPropertyStats,
        g_param_spec_boxed("stats", "Statistics",
                           "Number of messages, and latency in ns if they are timestamps", GST_TYPE_STRUCTURE,
                           ReadOnlyProperty));
}

static void gst_vp_user_data_extract_class_init(GstVpUserDataExtractClass* klass)
{
    install_properties(G_OBJECT_CLASS(klass));

    /**
     * GstVpUserDataExtract::user-data:
     * @data: the bytes
     * @pts: presentation timestamp of the picture, or GST_CLOCK_TIME_NONE
     * @clock: clock of the timestamp (a value of VideoParamsClock), or -1 if the bytes are no timestamp
     * @timestamp: ns of that clock, or 0
     *
     * Emitted from the streaming thread for each message, before the picture is pushed.
     */
    user_data_signal =
        g_signal_new("user-data", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
                     G_TYPE_NONE, 4, G_TYPE_BYTES, G_TYPE_UINT64, G_TYPE_INT, G_TYPE_INT64);

    gst_element_class_set_static_metadata(
        GST_ELEMENT_CLASS(klass), "VideoParams user data extractor", "Filter/Analyzer/Metadata/Video",
        "Reports and removes user data of H.264 and H.265 access units", PACKAGE_MAINTAINER);
    gst_type_mark_as_plugin_api(reference_clock_get_type(), static_cast<GstPluginAPIFlags>(0));
}
