// The GObject base class of the elements: caps, codec and life cycle. It forwards to a CElement.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "elements/Element.h"

#include <gst/base/gstbasetransform.h>

struct GstVpTransform
{
    GstBaseTransform parent;
    gstvp::CElement* element;        // from the subclass's instance initialisation; deleted here
    const gstvp::CodecRules* rules;  // null before the first caps
    gboolean isRefusalPosted;        // caps are sent again with every buffer; the error is posted once
};

struct GstVpTransformClass
{
    GstBaseTransformClass parent_class;
};

#define GST_TYPE_VP_TRANSFORM (gst_vp_transform_get_type())
GType gst_vp_transform_get_type(void);

// Subclasses call it before they install properties: GObject does not inherit the functions.
void gst_vp_transform_class_forward_properties(GObjectClass* klass);

GST_ELEMENT_REGISTER_DECLARE(vpuserdatainsert)
GST_ELEMENT_REGISTER_DECLARE(vpuserdataextract)
GST_ELEMENT_REGISTER_DECLARE(vpcheck)
