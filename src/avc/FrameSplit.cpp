#include "avc/FrameSplit.h"

namespace videoparams {

Result CFrameSplit::Split(const unsigned char* frame, uint32_t size)
{
    units.length = 0;
    sizes.length = 0;
    scanner.SetData(frame, size);
    const Result result = CollectUnits();
    scanner.EndScan();
    if (result != ResultOk)
        sizes.length = 0;
    return result;
}

Result CFrameSplit::CollectUnits()
{
    while (true) {
        const ScanOutcome outcome = scanner.NextWholeUnit();
        if (outcome != ScanOutcome::Unit)
            return ResultOf(outcome);
        const uint64_t count = uint64_t{sizes.length} + 1;
        if (!units.MakeRoom(count, count) || !sizes.MakeRoom(count, count))
            return ResultFailed;
        units.Append(const_cast<unsigned char*>(scanner.Unit().data));  // the caller's own, not const there
        sizes.Append(scanner.Unit().size);
    }
}

}  // namespace videoparams
