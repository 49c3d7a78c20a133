/**
 * SECTION:element-vpuserdatainsert
 * @title: vpuserdatainsert
 *
 * Inserts user data into the access units of an H.264 or H.265 stream, as SEI messages
 * (user_data_unregistered) with the identifier of VideoParams. A picture gets, in this order:
 *
 * - the messages of its #GstVideoSEIUserDataUnregisteredMeta with this identifier, if the stream lacks them,
 * - the messages that the action signal #GstVpUserDataInsert::push queued,
 * - #GstVpUserDataInsert:text, #GstVpUserDataInsert:data and then the timestamp, if
 *   #GstVpUserDataInsert:where selects the picture.
 *
 * ## Example launch line
 * |[
 * gst-launch-1.0 videotestsrc num-buffers=50 ! x264enc ! vpuserdatainsert timestamp=utc ! fakesink
 * ]|
 */

#include "elements/InsertElement.h"
#include "elements/PropertyFlags.h"
#include "elements/VpTransform.h"

using namespace gstvp;

struct GstVpUserDataInsert
{
    GstVpTransform parent;
};

struct GstVpUserDataInsertClass
{
    GstVpTransformClass parent_class;
    gboolean (*push)(GstVpUserDataInsert* self, GBytes* bytes);
};

static GType gst_vp_user_data_insert_get_type(void);
G_DEFINE_TYPE(GstVpUserDataInsert, gst_vp_user_data_insert, GST_TYPE_VP_TRANSFORM)
GST_ELEMENT_REGISTER_DEFINE(vpuserdatainsert, "vpuserdatainsert", GST_RANK_NONE,
                            gst_vp_user_data_insert_get_type())

static void gst_vp_user_data_insert_init(GstVpUserDataInsert* self)
{
    self->parent.element = new CInsertElement(GST_BASE_TRANSFORM(self));
}

static gboolean gst_vp_user_data_insert_push(GstVpUserDataInsert* self, GBytes* bytes)
{
    return bytes != nullptr && static_cast<CInsertElement*>(self->parent.element)->Push(bytes);
}

static GType timestamp_get_type(void)
{
    static const GEnumValue values[] = {
        {StampSourceNone, "No timestamp", "none"},
        {StampSourceUtc, "UTC time of the insertion", "utc"},
        {StampSourceMonotonic, "Monotonic clock of the machine at the insertion", "monotonic"},
        {StampSourceRunningTime, "Running time of the picture", "running-time"},
        {StampSourceReference, "GstReferenceTimestampMeta of the picture", "reference"},
        {0, nullptr, nullptr},
    };
    static const GType type = g_enum_register_static("GstVpTimestamp", values);
    return type;
}

static GType where_get_type(void)
{
    static const GEnumValue values[] = {
        {InsertWhereEvery, "Every picture", "every"},
        {InsertWhereKey, "Key frames", "key"},
        {InsertWhereInterval, "One picture in each interval", "interval"},
        {0, nullptr, nullptr},
    };
    static const GType type = g_enum_register_static("GstVpWhere", values);
    return type;
}

static void install_properties(GObjectClass* klass)
{
    gst_vp_transform_class_forward_properties(klass);
    g_object_class_install_property(
        klass, InsertPropertyText,
        g_param_spec_string("text", "Text", "Text to insert, UTF-8", nullptr, WritableProperty));
    g_object_class_install_property(klass, InsertPropertyData,
                                    g_param_spec_boxed("data", "Data",
                                                       "Bytes to insert, after the text if both are set",
                                                       G_TYPE_BYTES, WritableProperty));
    g_object_class_install_property(
        klass, InsertPropertyTimestamp,
        g_param_spec_enum("timestamp", "Timestamp", "Clock of the timestamp to insert after text and data",
                          timestamp_get_type(), StampSourceNone, WritableProperty));
    g_object_class_install_property(klass, InsertPropertyWhere,
                                    g_param_spec_enum("where", "Where",
                                                      "Pictures that get text, data and timestamp",
                                                      where_get_type(), InsertWhereEvery, WritableProperty));
    g_object_class_install_property(klass, InsertPropertyInterval,
                                    g_param_spec_uint("interval", "Interval",
                                                      "Milliseconds between insertions if where=interval", 1,
                                                      G_MAXUINT, 1000, WritableProperty));
    g_object_class_install_property(
        klass, InsertPropertyMaxQueued,
        g_param_spec_uint(
            "max-queued", "Most queued messages",
            "Pushed messages that may wait for the next picture; push returns FALSE beyond them", 1,
            G_MAXUINT, 1000, WritableProperty));
}

static void gst_vp_user_data_insert_class_init(GstVpUserDataInsertClass* klass)
{
    install_properties(G_OBJECT_CLASS(klass));

    /**
     * GstVpUserDataInsert::push:
     * @bytes: the message
     *
     * Queues a message for the next picture. Several queued messages go into the same picture, in order. May
     * be emitted from any thread. A flush drops what is queued.
     *
     * Returns: %FALSE if the queue is full or @bytes is %NULL
     */
    klass->push = gst_vp_user_data_insert_push;
    g_signal_new("push", G_TYPE_FROM_CLASS(klass),
                 static_cast<GSignalFlags>(G_SIGNAL_RUN_LAST | G_SIGNAL_ACTION),
                 G_STRUCT_OFFSET(GstVpUserDataInsertClass, push), nullptr, nullptr, nullptr, G_TYPE_BOOLEAN,
                 1, G_TYPE_BYTES);

    gst_element_class_set_static_metadata(
        GST_ELEMENT_CLASS(klass), "VideoParams user data inserter", "Filter/Metadata/Video",
        "Inserts text, bytes and timestamps into H.264 and H.265 access units", PACKAGE_MAINTAINER);
    gst_type_mark_as_plugin_api(timestamp_get_type(), static_cast<GstPluginAPIFlags>(0));
    gst_type_mark_as_plugin_api(where_get_type(), static_cast<GstPluginAPIFlags>(0));
}
