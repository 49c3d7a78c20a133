#pragma once

#include "avc/AvcParameterTables.h"
#include "bitstream/NalScanner.h"

namespace videoparams {

// The part of a slice header that tells pictures apart; signed elements as their 32 bits.
struct SliceHeaderRecord
{
    uint32_t first_mb_in_slice;
    uint32_t slice_type;
    uint32_t pic_parameter_set_id;
    uint32_t frame_num;
    uint32_t field_pic_flag;
    uint32_t bottom_field_flag;
    uint32_t nal_ref_idc;
    uint32_t IdrPicFlag;
    uint32_t idr_pic_id;
    uint32_t pic_order_cnt_lsb;
    uint32_t delta_pic_order_cnt_bottom;
    uint32_t delta_pic_order_cnt[2];
};

// A slice and its bits, read up to the last element that is used.
struct OpenedSlice
{
    Rbsp rbsp{};
    CBitReader bits;

    // The bytes after the unit header up to the one with the next unread bit, with the emulation prevention
    // that they take in the stream.
    uint32_t MeasureHeader() const;
};

enum class SliceReading
{
    Read,
    UnknownParameterSets,
    OutOfMemory,
};

// Reads slice headers, and compares each with the previous one whose parameter sets were known.
class CAvcSliceReader
{
public:
    CAvcSliceReader(CNalScanner& unitScanner, const CAvcParameterTables& parameterTables)
        : scanner(unitScanner), tables(parameterTables)
    {}

    // Reads the header of the unit that the scanner has just begun. If its parameter sets are unknown, the
    // bits are read up to where that showed.
    [[nodiscard]] SliceReading Read(OpenedSlice& slice);

    // The slice that was read last: its header, its parameter set, and whether it starts a picture.
    const SliceHeaderRecord& Header() const { return *latest; }
    const SpsRecord& Sps() const { return *sps; }
    bool StartsPicture() const { return startsPicture; }

    // The next slice starts no picture.
    void EndStream() { isFirstSlice = true; }

private:
    [[nodiscard]] bool ReadHeader(OpenedSlice& slice);
    bool DiffersFromPrevious() const;

    CNalScanner& scanner;
    const CAvcParameterTables& tables;

    // Two records that take turns: a copy of what was just written would wait for it.
    SliceHeaderRecord records[2]{};
    SliceHeaderRecord* latest = &records[0];  // of the last slice whose parameter sets were known
    SliceHeaderRecord* spare = &records[1];   // of the slice that is being read

    const SpsRecord* sps = nullptr;
    bool startsPicture = false;
    bool isFirstSlice = true;
};

}  // namespace videoparams
