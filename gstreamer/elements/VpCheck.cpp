/**
 * SECTION:element-vpcheck
 * @title: vpcheck
 *
 * Watches an H.264 or H.265 stream, and posts element messages. Each has `pts` and `picture`, its number from
 * 0:
 *
 * - `vpcheck-missing-references`: pictures that this one or earlier ones refer to are missing before it; for
 * H.265 `missing` is their number;
 * - `vpcheck-missing-parameter-sets`: this picture and the following ones cannot be read;
 * - `vpcheck-format`: `width`, `height` or `framerate` changed (`previous-width` …);
 * - `vpcheck-key-frame`: `size` in bytes, `distance` from the last key frame in pictures, `duration` in ns
 * and `group-size`, the bytes of that distance.
 *
 * #GstVpCheck:stats has the numbers of all of these since the start.
 *
 * ## Example launch line
 * |[
 * gst-launch-1.0 -m filesrc location=stamped.h264 ! h264parse ! vpcheck ! fakesink
 * ]|
 */

#include "elements/CheckElement.h"
#include "elements/PropertyFlags.h"
#include "elements/VpTransform.h"

using namespace gstvp;

struct GstVpCheck
{
    GstVpTransform parent;
};

struct GstVpCheckClass
{
    GstVpTransformClass parent_class;
};

static GType gst_vp_check_get_type(void);
G_DEFINE_TYPE(GstVpCheck, gst_vp_check, GST_TYPE_VP_TRANSFORM)
GST_ELEMENT_REGISTER_DEFINE(vpcheck, "vpcheck", GST_RANK_NONE, gst_vp_check_get_type())

static void gst_vp_check_init(GstVpCheck* self)
{
    self->parent.element = new CCheckElement(GST_ELEMENT(self));
}

static void gst_vp_check_class_init(GstVpCheckClass* klass)
{
    GObjectClass* const objectClass = G_OBJECT_CLASS(klass);
    gst_vp_transform_class_forward_properties(objectClass);
    g_object_class_install_property(
        objectClass, CheckPropertyFixFlags,
        g_param_spec_boolean("fix-flags", "Fix flags",
                             "Set the delta-unit flag of buffers to what the stream says", FALSE,
                             WritableProperty));
    g_object_class_install_property(objectClass, CheckPropertyPostMessages,
                                    g_param_spec_boolean("post-messages", "Post messages",
                                                         "Post an element message for each finding", TRUE,
                                                         WritableProperty));
    g_object_class_install_property(objectClass, CheckPropertyStats,
                                    g_param_spec_boxed("stats", "Statistics",
                                                       "Numbers of pictures and findings since the start",
                                                       GST_TYPE_STRUCTURE, ReadOnlyProperty));

    gst_element_class_set_static_metadata(
        GST_ELEMENT_CLASS(klass), "VideoParams stream check", "Filter/Analyzer/Video",
        "Reports missing pictures, format changes and key frames of H.264 and H.265 streams",
        PACKAGE_MAINTAINER);
}
