// A pipeline from a launch line, run in this process.

#pragma once

#include "Support.h"

#include <functional>

namespace gsttest {

class CPipeline
{
public:
    explicit CPipeline(const std::string& description);
    ~CPipeline();
    CPipeline(const CPipeline&) = delete;
    CPipeline& operator=(const CPipeline&) = delete;

    void SetState(GstState state);
    // Waits until the state is reached. False: it fails.
    bool AwaitState();
    // Plays until the end of the stream, or an error, which fails the test.
    void RunToEnd();
    // Waits for the end of the stream.
    void AwaitEnd();

    GstElement* Get() { return pipeline.get(); }
    GstElement* Find(const char* name);  // borrowed
    Structure Stats(const char* name);

    // Calls the function for each buffer that passes the pad of the element, from a streaming thread. It
    // stays until the pipeline goes.
    void Watch(const char* element, const char* pad, std::function<void(GstBuffer*)> function);

private:
    Element pipeline;
};

}  // namespace gsttest
