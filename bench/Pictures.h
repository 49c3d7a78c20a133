#pragma once

#include "RbspWriter.h"

namespace bench {

// The headers of a synthetic stream: sound in every element, since the libraries that are measured beside
// this one read more of them.
class CPictureWriter
{
public:
    virtual ~CPictureWriter() = default;

    virtual void WriteDelimiter(Bytes& stream) const = 0;
    virtual void WriteParameterSets(Bytes& stream) const = 0;
    virtual void WriteSei(Bytes& stream, const Bytes& messages) const = 0;
    // Picture `index` of a group of at most 128, the first of which is an IDR picture; one slice.
    virtual void WritePicture(Bytes& stream, uint32_t index, const Bytes& payload) const = 0;
};

extern const CPictureWriter& avcPictures;
extern const CPictureWriter& hevcPictures;

}  // namespace bench
