#pragma once

#include "RbspWriter.h"

namespace bench {

// The headers of a synthetic stream. Every element is correct, because the other measured libraries read more
// of them than this one.
class CPictureWriter
{
public:
    virtual ~CPictureWriter() = default;

    virtual void WriteDelimiter(Bytes& stream) const = 0;
    virtual void WriteParameterSets(Bytes& stream) const = 0;
    virtual void WriteSei(Bytes& stream, const Bytes& messages) const = 0;
    // Picture `index` of a group of at most 128. Picture 0 is an IDR picture. One slice.
    virtual void WritePicture(Bytes& stream, uint32_t index, const Bytes& payload) const = 0;
};

extern const CPictureWriter& avcPictures;
extern const CPictureWriter& hevcPictures;

}  // namespace bench
