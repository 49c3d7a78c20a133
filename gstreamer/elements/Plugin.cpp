#include "elements/VpTransform.h"

GST_DEBUG_CATEGORY(gst_vp_debug);

static gboolean plugin_init(GstPlugin* plugin)
{
    GST_DEBUG_CATEGORY_INIT(gst_vp_debug, "videoparams", 0,
                            "user data and continuity of H.264 and H.265 streams");
    gboolean isRegistered = GST_ELEMENT_REGISTER(vpuserdatainsert, plugin);
    isRegistered |= GST_ELEMENT_REGISTER(vpuserdataextract, plugin);
    isRegistered |= GST_ELEMENT_REGISTER(vpcheck, plugin);
    return isRegistered;
}

#define PACKAGE "videoparams"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, videoparams,
                  "Inserts, extracts and removes user data in H.264 and H.265 streams, and checks them",
                  plugin_init, PLUGIN_VERSION, "MIT/X11", "VideoParams", "https://videoparams.invalid")
