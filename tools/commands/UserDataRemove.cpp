// SEI units are handed to the library one by one; everything else passes through. The library writes each SEI
// unit anew. Here a unit from which nothing went stays as it was, and the others keep their start code, their
// header and the zeros behind them: what `add` made of a stream becomes that stream again.

#include "commands/Commands.h"
#include "report/Message.h"
#include "stream/Handle.h"
#include "stream/SeiUnit.h"

#include <algorithm>
#include <fmt/format.h>
#include <new>
#include <vector>

namespace tool {

namespace {

class CUserDataRemover
{
public:
    CUserDataRemover(VideoCodecType codec, CUnitSink& sink) : handle(codec), output(sink) {}

    void Take(const NalUnit& unit);
    uint64_t Edited() const { return edited; }

private:
    void TakeSei(const NalUnit& unit);

    CUserDataHandle handle;
    CUnitSink& output;
    uint64_t edited = 0;
};

void CUserDataRemover::Take(const NalUnit& unit)
{
    if (unit.IsSei() && !unit.ForbiddenZeroBit())
        TakeSei(unit);
    else
        output.Write(unit.sample, unit.data, unit.size);
}

void CUserDataRemover::TakeSei(const NalUnit& unit)
{
    const unsigned char* plain = nullptr;
    unsigned int plainSize = 0;
    if (RemoveUserData(handle, unit.data, unit.size, &plain, &plainSize) != 0)
        throw std::bad_alloc();
    const uint32_t zeros = TrailingZeros(unit);
    const unsigned char* const body = unit.Header() + unit.HeaderLength();
    const unsigned char* const bodyEnd = unit.data + unit.size - zeros;
    const NalUnit rest{unit.codec, plain, plainSize, 0, 0, unit.sample};
    const unsigned char* const restBody = plainSize == 0 ? nullptr : rest.Header() + rest.HeaderLength();
    if (restBody != nullptr && std::equal(body, bodyEnd, restBody, plain + plainSize)) {
        output.Write(unit.sample, unit.data, unit.size);
        return;
    }
    ++edited;
    if (restBody == nullptr)
        return;
    std::vector<unsigned char> whole(unit.data, body);
    whole.insert(whole.end(), restBody, plain + plainSize);
    whole.insert(whole.end(), zeros, 0);
    output.Write(unit.sample, whole.data(), whole.size());
}

}  // namespace

Status RunUserDataRemove(const UserDataOptions& options)
{
    const auto source = OpenSource(options.source);
    const auto output = source->OpenSink({.path = options.outputFile, .force = options.force});
    CUserDataRemover remover(source->Codec(), *output);
    source->ForEach([&](const NalUnit& unit) { remover.Take(unit); },
                    [&](const auto& sample, const unsigned char* bytes, size_t size) {
                        output->WriteOther(sample, bytes, size);
                    });
    output->Commit();
    Announce("user data removed from " + CountOf(remover.Edited(), "SEI unit"), output->IsStandardOutput());
    return StatusGood;
}

}  // namespace tool
