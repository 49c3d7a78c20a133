// Where an edited stream goes. The source makes the sink that fits it: bytes for a byte stream, samples for a
// container.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/Sample.h"

#include <cstddef>
#include <memory>

namespace tool {

class CUnitSink
{
public:
    virtual ~CUnitSink() = default;

    // One whole unit with its start code. Units come in the order of the stream. `sample` is the one that the
    // unit belongs to; null in a byte stream. Throws CToolError.
    virtual void Write(const std::shared_ptr<const Sample>& sample, const unsigned char* unit,
                       size_t size) = 0;

    // Bytes between units that are copied as they are. Throws CToolError.
    virtual void WriteOther(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes,
                            size_t size) = 0;

    // Marks the sample as a key sample, or not, in a container that has such marks. Throws CToolError.
    virtual void MarkKey(const std::shared_ptr<const Sample>& sample, bool isKey) = 0;

    // Puts the output into its place. Without it nothing remains of the output. Throws CToolError.
    virtual void Commit() = 0;

    virtual bool IsStandardOutput() const = 0;
};

}  // namespace tool
