// Test streams, buffers and an element under test.

#pragma once

#include <VideoParams.h>
#include <gst/check/gstharness.h>
#include <gst/gst.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace gsttest {

using Bytes = std::vector<guint8>;

struct TestStream
{
    std::string name;
    VideoCodecType codec;
    std::vector<Bytes> accessUnits;
    std::set<size_t> keyFrames;
    std::vector<std::string> unitTypes;  // of each access unit, separated by blanks
    std::string structures;              // F: frame, T and B: fields

    const char* Caps() const;
};

// The streams of tests/streams, cut as their descriptions say.
const std::vector<TestStream>& TestStreams();
const TestStream& StreamOf(const std::string& name);

struct Unref
{
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
    void operator()(GstMessage* message) const { gst_message_unref(message); }
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
};
using Buffer = std::unique_ptr<GstBuffer, Unref>;
using Message = std::unique_ptr<GstMessage, Unref>;
using Element = std::unique_ptr<GstElement, Unref>;
using Structure = std::unique_ptr<GstStructure, Unref>;

Buffer NewBuffer(const Bytes& bytes, GstClockTime pts = 0);
Bytes BytesOf(GstBuffer* buffer);
Bytes BytesOf(const std::string& text);
// The payloads of the metas with this identifier.
std::vector<Bytes> MetasOf(GstBuffer* buffer, const guint8* identifier);

// One element, or several with links, between pads that the test feeds and reads.
class CElementHarness
{
public:
    CElementHarness(const std::string& description, const char* caps);
    ~CElementHarness();
    CElementHarness(const CElementHarness&) = delete;
    CElementHarness& operator=(const CElementHarness&) = delete;

    // What comes out for a buffer; null if nothing does.
    Buffer Pass(Buffer buffer);
    Buffer Pass(const Bytes& bytes, GstClockTime pts = 0) { return Pass(NewBuffer(bytes, pts)); }
    // The posted messages since the last call.
    std::vector<Message> Messages(GstMessageType type = GST_MESSAGE_ELEMENT);
    // The first element of this factory; borrowed.
    GstElement* Find(const std::string& factory);
    Structure Stats(const std::string& factory);

    GstHarness* Get() { return harness; }

private:
    GstHarness* harness;
    GstBus* bus;
};

// Emits the signal "push" of the inserting element. False: its queue is full.
bool Push(CElementHarness& harness, const Bytes& message);

// The last message of the access unit, as the library finds it.
Bytes LastMessage(const TestStream& stream, const Bytes& accessUnit);

guint64 CountIn(const GstStructure* structure, const char* field);

extern const guint8 LibraryIdentifier[16];

}  // namespace gsttest
