#include "avc/ParseAVCParams.h"

namespace videoparams {

CParseAVCParams::CParseAVCParams(HandleFamily family) : CParserBase(avcRules, *this, family) {}

// The first of each kind is held even if it cannot be read: the bytes may serve a decoder.
void CParseAVCParams::ReadParameterSet(const Rbsp& rbsp, SequenceInfo& info)
{
    (void)tables.ReadParameterSet(scanner.Unit().header.nal_unit_type, rbsp, info);
    exchange.Capture(info);
}

SliceOutcome CParseAVCParams::ReadSlice()
{
    OpenedSlice slice;
    switch (sliceReader.Read(slice)) {
    case SliceReading::OutOfMemory:
        return SliceOutcome::OutOfMemory;
    case SliceReading::UnknownParameterSets:
        return SliceOutcome::Unreadable;
    case SliceReading::Read:
        break;
    }
    return sliceReader.StartsPicture() ? SliceOutcome::StartsPicture : SliceOutcome::ContinuesPicture;
}

const SequenceInfo* CParseAVCParams::CompleteKeyUnit(AccessUnit& unit)
{
    return exchange.Complete(unit);
}

void CParseAVCParams::EndStream()
{
    sliceReader.EndStream();
}

Result CParseAVCParams::QuerySliceType(const unsigned char* data, uint32_t size, VideoPicType& type)
{
    type = VideoPicUnknown;
    if (data == nullptr)
        return ResultFailed;
    scanner.SetData(data, size);
    const Result result = FindSliceType(type);
    scanner.EndScan();
    return result;
}

Result CParseAVCParams::FindSliceType(VideoPicType& type)
{
    while (scanner.NextUnit() == ScanOutcome::Unit) {
        const NalHeader& header = scanner.Unit().header;
        if (header.forbidden_zero_bit == 1)
            return ResultFailed;
        if (header.nal_unit_type != AvcUnitSlice && header.nal_unit_type != AvcUnitIdrSlice)
            continue;
        Rbsp rbsp;
        if (!scanner.OpenHead(rbsp))
            return ResultFailed;
        CBitReader bits = rbsp.AfterHeader();
        bits.Ue();  // first_mb_in_slice
        type = static_cast<VideoPicType>(bits.Ue());
        return ResultOk;
    }
    return ResultFailed;
}

Result CParseAVCParams::VideoSampleTest(const unsigned char* data, uint32_t size, VideoInfoEx* test)
{
    if (test == nullptr)
        return ResultFailed;
    *test = VideoInfoEx{};
    scanner.SetData(data, size);
    const Result result = TestFirstSlice(*test);
    scanner.EndScan();
    return result;
}

// Reads the parameter sets before the first slice into the tables.
Result CParseAVCParams::TestFirstSlice(VideoInfoEx& test)
{
    SequenceInfo unused;
    while (true) {
        const ScanOutcome outcome = scanner.NextUnit();
        if (outcome != ScanOutcome::Unit)
            return ResultOf(outcome);
        const uint32_t nal_unit_type = scanner.Unit().header.nal_unit_type;
        const UnitTraits& traits = avcRules.TraitsOf(nal_unit_type);
        if (traits.unitClass == UnitClass::Slice)
            return TestSlice(test);
        if (!traits.isParameterSet)
            continue;
        Rbsp rbsp;
        if (!scanner.OpenWhole(rbsp) || tables.ReadParameterSet(nal_unit_type, rbsp, unused) != ResultOk)
            return ResultFailed;
    }
}

Result CParseAVCParams::TestSlice(VideoInfoEx& test)
{
    OpenedSlice slice;
    switch (sliceReader.Read(slice)) {
    case SliceReading::OutOfMemory:
        return ResultFailed;
    case SliceReading::UnknownParameterSets:
        test.sampleError = 1;
        return ResultFailed;
    case SliceReading::Read:
        break;
    }
    test = sampleTest.TestSlice(sliceReader.Header(), sliceReader.Sps());
    return ResultOk;
}

Result CParseAVCParams::SetVideoData(unsigned char* data, uint32_t size)
{
    scanner.SetData(data, size);
    return ResultOk;
}

Result CParseAVCParams::GetNalUnit(unsigned char** unit, uint32_t* unitSize, bool* isSlice,
                                   uint32_t* sliceHeaderLength)
{
    if (unit == nullptr || unitSize == nullptr || isSlice == nullptr || sliceHeaderLength == nullptr)
        return ResultFailed;
    *unit = nullptr;
    *unitSize = 0;
    *isSlice = false;
    *sliceHeaderLength = 0;

    if (scanner.NextUnit() != ScanOutcome::Unit || scanner.Unit().header.forbidden_zero_bit == 1)
        return ResultFailed;
    Result result = ResultOk;
    const uint32_t nal_unit_type = scanner.Unit().header.nal_unit_type;
    const UnitTraits& traits = avcRules.TraitsOf(nal_unit_type);
    if (traits.unitClass == UnitClass::Slice) {
        OpenedSlice slice;
        if (sliceReader.Read(slice) == SliceReading::OutOfMemory)
            return ResultFailed;
        *isSlice = true;
        *sliceHeaderLength = slice.MeasureHeader();
    } else if (traits.isParameterSet) {
        SequenceInfo unused;
        Rbsp rbsp;
        if (!scanner.OpenWhole(rbsp))
            return ResultFailed;
        result = tables.ReadParameterSet(nal_unit_type, rbsp, unused);
    }
    scanner.EndUnit();
    *unit = const_cast<unsigned char*>(scanner.Unit().data);  // the caller's own, not const there
    *unitSize = scanner.Unit().size;
    return result;
}

Result CParseAVCParams::GetNalFromFrame(unsigned char* frame, uint32_t size, uint32_t* count,
                                        unsigned char*** units, uint32_t** sizes)
{
    if (count == nullptr || units == nullptr || sizes == nullptr)
        return ResultFailed;
    const Result result = frameSplit.Split(frame, size);
    *count = frameSplit.Count();
    *units = frameSplit.Units();
    *sizes = frameSplit.Sizes();
    return result;
}

Result CParseAVCParams::SetParameterSetData(unsigned char* sps, uint32_t spsSize, unsigned char* pps,
                                            uint32_t ppsSize)
{
    return exchange.Hold(sps, spsSize, pps, ppsSize);
}

Result CParseAVCParams::GetParameterSetData(unsigned char* data, uint32_t size, ParameterSetData* sets)
{
    return exchange.Find(data, size, *sets);
}

}  // namespace videoparams
