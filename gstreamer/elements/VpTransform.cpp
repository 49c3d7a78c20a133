#include "elements/VpTransform.h"

using gstvp::CodecRules;
using gstvp::FindRules;

#define GST_CAT_DEFAULT gst_vp_debug

static GstStaticPadTemplate sink_template =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS("video/x-h264, stream-format=byte-stream, alignment=au; "
                                            "video/x-h265, stream-format=byte-stream, alignment=au"));
static GstStaticPadTemplate src_template =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS("video/x-h264, stream-format=byte-stream, alignment=au; "
                                            "video/x-h265, stream-format=byte-stream, alignment=au"));

G_DEFINE_ABSTRACT_TYPE(GstVpTransform, gst_vp_transform, GST_TYPE_BASE_TRANSFORM)

#define GST_VP_TRANSFORM(object) (reinterpret_cast<GstVpTransform*>(object))

static void gst_vp_transform_init(GstVpTransform* self)
{
    // Without this the base class allocates output buffers. generate_output decides what is passed through.
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), TRUE);
    gst_base_transform_set_gap_aware(GST_BASE_TRANSFORM(self), TRUE);
}

static void gst_vp_transform_finalize(GObject* object)
{
    delete GST_VP_TRANSFORM(object)->element;
    G_OBJECT_CLASS(gst_vp_transform_parent_class)->finalize(object);
}

static void gst_vp_transform_set_property(GObject* object, guint id, const GValue* value, GParamSpec*)
{
    GST_VP_TRANSFORM(object)->element->SetProperty(id, value);
}

static void gst_vp_transform_get_property(GObject* object, guint id, GValue* value, GParamSpec*)
{
    GST_VP_TRANSFORM(object)->element->GetProperty(id, value);
}

// H.264 or H.265 in another form than the pads take: length fields (avc, hvc1) or less than an access unit.
static bool needs_parser(const GstCaps* caps)
{
    if (FindRules(caps) == nullptr)
        return false;
    GstCaps* const accepted = gst_static_pad_template_get_caps(&sink_template);
    const bool isAccepted = gst_caps_is_subset(caps, accepted) != FALSE;
    gst_caps_unref(accepted);
    return !isAccepted;
}

// Caps that need a parser pass the queries, so that they arrive in an event and are refused with a message
// that names the parser. Refused in the query, they would be "not negotiated" or "could not link" without a
// hint.
static gboolean gst_vp_transform_accept_caps(GstBaseTransform* base, GstPadDirection direction, GstCaps* caps)
{
    if (direction == GST_PAD_SINK && needs_parser(caps))
        return TRUE;
    return GST_BASE_TRANSFORM_CLASS(gst_vp_transform_parent_class)->accept_caps(base, direction, caps);
}

// The result intersected with the filter of the query. Takes the caps.
static void set_caps_result(GstQuery* query, GstCaps* caps)
{
    GstCaps* filter = nullptr;
    gst_query_parse_caps(query, &filter);
    GstCaps* const filtered = filter == nullptr
                                  ? gst_caps_ref(caps)
                                  : gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
    gst_query_set_caps_result(query, filtered);
    gst_caps_unref(filtered);
    gst_caps_unref(caps);
}

// An element that asks what it may send names its forms in the filter, and gets the accepted ones alone. The
// check of a link, which has no filter, and an element that has no accepted form also get what needs a
// parser.
static void widen_sink_caps(GstQuery* query)
{
    GstCaps *filter = nullptr, *result = nullptr;
    gst_query_parse_caps(query, &filter);
    gst_query_parse_caps_result(query, &result);
    GstCaps* const accepted = gst_static_pad_template_get_caps(&sink_template);
    const bool hasAcceptedForm = filter != nullptr && gst_caps_can_intersect(filter, accepted);
    gst_caps_unref(accepted);
    if (hasAcceptedForm)
        return;

    GstCaps* widened = gst_caps_copy(result);
    for (const CodecRules* const rules : gstvp::AllRules) {
        GstCaps* const anyForm = gst_caps_new_empty_simple(rules->mediaType);
        if (gst_caps_can_intersect(filter != nullptr ? filter : result, anyForm))
            widened = gst_caps_merge(widened, gst_caps_ref(anyForm));
        gst_caps_unref(anyForm);
    }
    set_caps_result(query, widened);
}

// Nothing can come out if what comes in needs a parser. The link to the next element is to pass nevertheless.
static void widen_src_caps(GstQuery* query)
{
    GstCaps* result = nullptr;
    gst_query_parse_caps_result(query, &result);
    if (gst_caps_is_empty(result))
        set_caps_result(query, gst_static_pad_template_get_caps(&src_template));
}

static gboolean gst_vp_transform_query(GstBaseTransform* base, GstPadDirection direction, GstQuery* query)
{
    const gboolean isAnswered =
        GST_BASE_TRANSFORM_CLASS(gst_vp_transform_parent_class)->query(base, direction, query);
    if (!isAnswered || GST_QUERY_TYPE(query) != GST_QUERY_CAPS)
        return isAnswered;
    if (direction == GST_PAD_SINK)
        widen_sink_caps(query);
    else
        widen_src_caps(query);
    return TRUE;
}

static void post_parser_needed(GstBaseTransform* base, const GstCaps* caps)
{
    if (GST_VP_TRANSFORM(base)->isRefusalPosted)
        return;
    GST_VP_TRANSFORM(base)->isRefusalPosted = TRUE;
    const char* const parser = FindRules(caps)->parserElement;
    const char* const name = GST_OBJECT_NAME(gst_element_get_factory(GST_ELEMENT(base)));
    GST_ELEMENT_ERROR(base, STREAM, WRONG_TYPE,
                      ("%s takes byte-stream access units only. Put %s before it: … ! %s ! %s ! …", name,
                       parser, parser, name),
                      ("refused caps: %" GST_PTR_FORMAT, caps));
}

static gboolean gst_vp_transform_sink_event(GstBaseTransform* base, GstEvent* event)
{
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        if (needs_parser(caps)) {
            post_parser_needed(base, caps);
            gst_event_unref(event);
            return FALSE;
        }
    }
    if (GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_STOP)
        GST_VP_TRANSFORM(base)->element->Flush();
    return GST_BASE_TRANSFORM_CLASS(gst_vp_transform_parent_class)->sink_event(base, event);
}

static gboolean gst_vp_transform_set_caps(GstBaseTransform* base, GstCaps* caps, GstCaps*)
{
    GstVpTransform* const self = GST_VP_TRANSFORM(base);
    self->isRefusalPosted = FALSE;
    const CodecRules* const rules = FindRules(caps);
    if (rules == self->rules)
        return TRUE;
    self->rules = nullptr;
    if (rules == nullptr || !self->element->Begin(*rules)) {
        GST_ELEMENT_ERROR(self, RESOURCE, NO_SPACE_LEFT, ("Out of memory."),
                          ("no handle for %s", rules != nullptr ? rules->mediaType : "this type"));
        return FALSE;
    }
    self->rules = rules;
    return TRUE;
}

static gboolean gst_vp_transform_start(GstBaseTransform* base)
{
    GST_VP_TRANSFORM(base)->isRefusalPosted = FALSE;
    GST_VP_TRANSFORM(base)->element->Start();
    return TRUE;
}

static gboolean gst_vp_transform_stop(GstBaseTransform* base)
{
    GstVpTransform* const self = GST_VP_TRANSFORM(base);
    self->rules = nullptr;
    self->element->Stop();
    return TRUE;
}

static GstFlowReturn gst_vp_transform_generate_output(GstBaseTransform* base, GstBuffer** output)
{
    GstBuffer* const buffer = base->queued_buf;
    base->queued_buf = nullptr;
    *output = nullptr;
    if (buffer == nullptr)
        return GST_FLOW_OK;
    if (GST_VP_TRANSFORM(base)->rules == nullptr) {
        gst_buffer_unref(buffer);
        return GST_FLOW_NOT_NEGOTIATED;
    }
    *output = GST_VP_TRANSFORM(base)->element->Take(buffer);
    return GST_FLOW_OK;
}

void gst_vp_transform_class_forward_properties(GObjectClass* klass)
{
    klass->set_property = gst_vp_transform_set_property;
    klass->get_property = gst_vp_transform_get_property;
}

static void gst_vp_transform_class_init(GstVpTransformClass* klass)
{
    GObjectClass* const objectClass = G_OBJECT_CLASS(klass);
    objectClass->finalize = gst_vp_transform_finalize;

    gst_element_class_add_static_pad_template(GST_ELEMENT_CLASS(klass), &sink_template);
    gst_element_class_add_static_pad_template(GST_ELEMENT_CLASS(klass), &src_template);

    GstBaseTransformClass* const baseClass = GST_BASE_TRANSFORM_CLASS(klass);
    baseClass->accept_caps = gst_vp_transform_accept_caps;
    baseClass->query = gst_vp_transform_query;
    baseClass->sink_event = gst_vp_transform_sink_event;
    baseClass->set_caps = gst_vp_transform_set_caps;
    baseClass->start = gst_vp_transform_start;
    baseClass->stop = gst_vp_transform_stop;
    baseClass->generate_output = gst_vp_transform_generate_output;

    gst_type_mark_as_plugin_api(GST_TYPE_VP_TRANSFORM, static_cast<GstPluginAPIFlags>(0));
}
