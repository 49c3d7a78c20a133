// VideoParams: analysis and editing of H.264/AVC and H.265/HEVC Annex B elementary streams.
//
// SPDX-License-Identifier: MIT

/// @file
/// @brief The whole interface of libVideoParams: fifteen functions and the records that they fill.
///
/// ## Words
///
/// A **unit** is a NAL unit with its start code (00 00 01 or 00 00 00 01; ITU-T H.264 and H.265, Annex B). An
/// **access unit** is one picture (or one field) together with the units that belong to it. A **key frame**
/// is an H.264 IDR picture or an H.265 IRAP picture. The **parameter sets** are the sequence parameter set
/// (SPS), the picture parameter set (PPS) and, in H.265, the video parameter set (VPS). An **SEI unit** holds
/// messages for supplemental information. A **flush** is a call of `ParseVideoParams` without data.
///
/// ## Example
///
/// @code
/// void* parser = NULL;
/// if (ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0)
///     return 1;
/// const unsigned char* unit = NULL;
/// unsigned int unitSize = 0;
/// VideoInfo info;
/// while (NextUnit(&unit, &unitSize)) {               // your source of units
///     ParseVideoParams(parser, unit, unitSize, &info);
///     if (info.accessUnitFound)                      // one picture late
///         Use(info.accessUnitData, info.accessUnitSize, info.keyFrame);
/// }
/// ParseVideoParams(parser, NULL, 0, &info);          // flush: reports the last access unit
/// if (info.accessUnitFound)
///     Use(info.accessUnitData, info.accessUnitSize, info.keyFrame);
/// ParseRelease(parser);
/// @endcode
///
/// ## How to feed a stream
///
/// **Pass whole units: one unit per call, or one access unit per call.** A call looks only at its own buffer.
/// No bytes are kept for the next call:
/// - A unit that continues in the next buffer is cut in two.
/// - Bytes before the first start code of the buffer are dropped.
/// - A start code counts only if at least 5 bytes of the buffer remain, counted from its first zero.
///   Otherwise its bytes belong to the previous unit.
/// - A buffer of 1 to 4 bytes is ignored.
/// - A start code that is immediately followed by another start code ends `ParseVideoParams`,
///   `VideoSampleTest` and `QueryType`. The rest of the buffer is not read.
/// - If one call completes several access units, only the last one is reported.
///
/// **Join units of 3 or 4 bytes to the end of the previous unit.** Such a unit, for example an end of
/// sequence (00 00 01 0A), is too short for a call of its own. The feeders in `videoparams/nal_feeder.h` (C)
/// and `videoparams/nal_feeder.hpp` (C++) take a stream in pieces of any size and do all of this. One access
/// unit per call is as correct as one unit per call, and faster.
///
/// ## Two families of handles
///
/// A **parse handle** (`ParseCreate`, `ParseRelease`) serves stream analysis, sample queries, parameter sets
/// and the iteration over units. A **user-data handle** (`UserDataCreate`, `UserDataRelease`) inserts,
/// extracts and removes user-data SEI messages. A function that gets a handle of the other family returns -1
/// and changes nothing.
///
/// ## Results
///
/// Every function returns 0 for success or -1 for failure. A null handle gives -1. A null pointer for a
/// result that the call would write gives -1 too, and nothing changes. Some functions serve H.264 only: on an
/// H.265 handle they return 0 and write nothing, so **initialise your variables**. No exception leaves the
/// library.
///
/// ## Memory
///
/// A returned pointer points into the caller's own input or into a block of the handle. Do not free it. The
/// library never frees what the caller passes. It reads the input during the call only; `SetVideoData` is the
/// one exception.
///
/// Input must not lie in a block of the same handle. There are two exceptions:
/// - The results of `AddUserData` and `RemoveUserData` may be passed to `GetUserData`, and the result of one
///   of the two to the other.
/// - The result of `GetParameterSetData` may be passed to `SetParameterSetData`.
///
/// The memory of a handle depends on its configuration and on the largest unit and access unit so far, not on
/// the length of the stream. (A stream without slices is one access unit until the next flush.) A parse
/// handle holds at most the sum of:
/// - `queueCount` + 2 blocks, each of 1.5 times the largest access unit or of `queueSize` bytes, whichever is
///   more;
/// - five blocks of 1.5 times the largest unit;
/// - 18 bytes for each unit of the largest frame that `GetNalFromFrame` split;
/// - 100 KB.
///
/// A user-data handle holds at most 11 times the largest access unit that it took or returned, plus 5 times
/// the largest user data, plus 3.2 MB.
///
/// If memory runs out, the call returns -1, the handle keeps what it has, and a later call can succeed.
/// `ParseVideoParams` and `SetParameterSetData` describe their exceptions.
///
/// ## Threads
///
/// The library has no global state and starts no threads. Use a handle from one thread at a time. Different
/// handles may be used at the same time.
///
/// ## Untrusted input
///
/// Any bytes are allowed everywhere. Values are reported as the stream codes them, **without range checks**:
/// check `width` and `height` before you allocate memory for a picture, and check `frameRateDenominator`
/// before you divide.

#ifndef VIDEO_PARAMS_H
#define VIDEO_PARAMS_H

#include <stddef.h>
#include <stdint.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

#define VIDEOPARAMS_VERSION_MAJOR 1
#define VIDEOPARAMS_VERSION_MINOR 0
#define VIDEOPARAMS_VERSION_PATCH 0

// Define VIDEOPARAMS_STATIC to link the static library. VIDEOPARAMS_BUILD is for the library's own build.
#if defined(VIDEOPARAMS_STATIC)
#define VIDEOPARAMS_API
#elif defined(_WIN32) && defined(VIDEOPARAMS_BUILD)
#define VIDEOPARAMS_API __declspec(dllexport)
#elif defined(_WIN32)
#define VIDEOPARAMS_API __declspec(dllimport)
#elif defined(__GNUC__)
#define VIDEOPARAMS_API __attribute__((visibility("default")))
#else
#define VIDEOPARAMS_API
#endif

// Enumerations have 32 bits and can hold any 32-bit value.
#ifdef __cplusplus
#define VIDEOPARAMS_ENUM_BASE : int32_t
#else
#define VIDEOPARAMS_ENUM_BASE
#endif

// QueryType takes a reference in C++ and the same address as a pointer in C. The library's own build uses the
// pointer, so that it can detect a null pointer from C.
#if defined(__cplusplus) && !defined(VIDEOPARAMS_BUILD)
#define VIDEOPARAMS_OUT_REFERENCE(type) type&
#else
#define VIDEOPARAMS_OUT_REFERENCE(type) type*
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// The codec of a handle's streams.
typedef enum VideoCodecType VIDEOPARAMS_ENUM_BASE
{
    VideoCodecAVC = 0,  ///< H.264/AVC
    VideoCodecHEVC = 1  ///< H.265/HEVC
} VideoCodecType;

/// `slice_type` of an H.264 slice, as coded (ITU-T H.264, 7.4.3, Table 7-6). A damaged stream can code a
/// value above 9; it is stored unchanged.
typedef enum VideoPicType VIDEOPARAMS_ENUM_BASE
{
    VideoPicUnknown = -1,  ///< no slice found
    VideoPicP = 0,         ///< P slice
    VideoPicB = 1,         ///< B slice
    VideoPicI = 2,         ///< I slice
    VideoPicSP = 3,        ///< SP slice
    VideoPicSI = 4,        ///< SI slice
    VideoPicAllP = 5,      ///< P slice, and every slice of the picture is P
    VideoPicAllB = 6,      ///< B slice, and every slice of the picture is B
    VideoPicAllI = 7,      ///< I slice, and every slice of the picture is I
    VideoPicAllSP = 8,     ///< SP slice, and every slice of the picture is SP
    VideoPicAllSI = 9      ///< SI slice, and every slice of the picture is SI
} VideoPicType;

/// Description of one access unit, written by `ParseVideoParams`. All fields are 0 if the call completed no
/// access unit.
///
/// The fields from `width` on describe the sequence. They are filled if `sequenceInfoValid` is 1: if the
/// access unit has a sequence parameter set (SPS), or if it is an H.264 key frame without an SPS and the
/// handle holds one. Otherwise they are 0: **keep the last valid values** if you need them for every picture.
///
/// If an access unit has several SPS, the last one is described. Elements that this SPS does not code (frame
/// rate, colour) may keep the values of an earlier SPS of the same access unit. The description that the
/// handle holds for H.264 key frames without an SPS can then be that of the last SPS, although the first SPS
/// is the one that is held and inserted.
///
/// H.265: parameter sets of layers above 0 (`nuh_layer_id`) are read like those of layer 0. An SPS of such a
/// layer can have another syntax (ITU-T H.265, F.7.3.2.2.1). Then **all fields from `width` on can be wrong**
/// for this access unit.
///
/// Parameter sets are read up to the timing information of the VUI. The rest is not read.
typedef struct VideoInfo
{
    /// 1: this call completed an access unit, and the other fields describe it. 0: it completed none.
    uint32_t accessUnitFound;
    /// 1: the fields from `width` on are filled. They describe this access unit, or an earlier one that the
    /// same call completed. 0: these fields are 0.
    uint32_t sequenceInfoValid;
    /// 1: the access unit has an H.264 IDR slice (`nal_unit_type` 5; ITU-T H.264, Table 7-1) or an H.265 IRAP
    /// slice (`nal_unit_type` 16 to 21: BLA, IDR or CRA; ITU-T H.265, Table 7-1). 0: it does not. Recovery
    /// point SEI messages do not count. H.264: also 0 in one more case: after the IDR slices comes a unit
    /// that can only begin the next access unit (for example an SEI unit), and then a flush. That unit is
    /// then part of this access unit.
    uint32_t keyFrame;
    /// The units of the access unit with their start codes, in the order of the stream. **An H.264 key frame
    /// may have the held parameter sets inserted**, see `ParseVideoParams`.
    ///
    /// The bytes belong to the handle. Do not free them. They stay valid until the handle begins the
    /// `queueCount`-th access unit after this one, or until `ParseRelease`. With the default of 6, they stay
    /// valid during the calls that report the next four access units; the call that reports the fifth
    /// overwrites them. A flush overwrites nothing. **With a `queueCount` of 1, only the bytes that a flush
    /// reports may be read.**
    const unsigned char* accessUnitData;
    /// Bytes at `accessUnitData`.
    uint32_t accessUnitSize;
    /// Luma samples in a row, after cropping (H.264: ITU-T H.264, 7.4.2.1.1) or inside the conformance window
    /// (H.265: ITU-T H.265, 7.4.3.2.1; the default display window is not applied). Any 32-bit value is
    /// possible. A stream that crops more than its picture gives a value that wraps modulo 2^32: **check it
    /// before you allocate.**
    uint32_t width;
    /// Luma rows, after the same cropping. H.264: rows of a frame, also if the stream codes fields. H.265:
    /// rows of a picture, which may be one field. Wraps like `width`.
    uint32_t height;
    /// Frame rate = `frameRateNumerator` / `frameRateDenominator` frames per second (H.265: pictures per
    /// second). Both are 0 if the stream codes no rate.
    ///
    /// H.264: `time_scale` (ITU-T H.264, E.2.1). H.265: `vui_time_scale` (ITU-T H.265, E.3.1), or
    /// `vps_time_scale` (7.4.3.1) if the SPS codes no timing. A VPS counts if it is in the same access unit
    /// as the SPS. If it is alone in a later access unit, its rate goes to the next SPS that codes no timing,
    /// unless a flush comes first.
    uint32_t frameRateNumerator;
    /// H.264: **2 ×** `num_units_in_tick`, because a frame takes two ticks. H.265: `vui_num_units_in_tick` or
    /// `vps_num_units_in_tick`, **not** doubled, because a tick is one picture (also if each picture is one
    /// field). Can be 0 although the numerator is not: **check it before you divide.** Wraps modulo 2^32.
    uint32_t frameRateDenominator;
    /// This field and the next six have the values of the VUI elements of these names (ITU-T H.264, E.2.1;
    /// ITU-T H.265, E.3.1). All seven are 0 if there is no VUI. 1: the next three elements are coded. 0: they
    /// are not.
    uint32_t video_signal_type_present_flag;
    uint32_t video_format;                     ///< 0 to 7; 5 (unspecified) if not coded
    uint32_t video_full_range_flag;            ///< 1: full range. 0: limited range, or not coded
    uint32_t colour_description_present_flag;  ///< 1: the next three elements are coded. 0: they are not
    uint32_t colour_primaries;                 ///< 0 to 255; 2 (unspecified) if not coded
    uint32_t transfer_characteristics;         ///< 0 to 255; 2 (unspecified) if not coded
    uint32_t matrix_coefficients;   ///< 0 to 255; 2 (unspecified) if not coded; `matrix_coeffs` in H.265
    unsigned char reserved1[1024];  ///< zero
    unsigned char reserved2[1088];  ///< zero
} VideoInfo;

/// Result of `VideoSampleTest` for one sample. All fields are 0 if the sample has no slice.
typedef struct VideoInfoEx
{
    /// 1: the sample breaks the sequence of `frame_num` (ITU-T H.264, 7.4.3), or the parameter sets of its
    /// first slice are unknown (the result of the call is then -1). 0: neither.
    uint32_t sampleError;
    /// 1: the first slice codes a frame. 0: it codes a field, or it could not be read.
    uint32_t isFrame;
    /// 1: the first slice is an IDR slice or an I slice (`slice_type` 2 or 7). 0: it is neither, or it could
    /// not be read.
    uint32_t isIntra;
} VideoInfoEx;

/// The parameter sets that `GetParameterSetData` found: units with their start codes, or null and 0.
///
/// The bytes belong to the handle. Do not free them. They stay valid until the next `GetParameterSetData` on
/// the handle, or until `ParseRelease`. They may be passed to `SetParameterSetData` of the same handle.
typedef struct ParameterSetData
{
    unsigned char* vps;  ///< always null
    uint32_t vpsSize;    ///< always 0
    unsigned char* sps;  ///< the last sequence parameter set; null: none found
    uint32_t spsSize;    ///< bytes at `sps`, start code included; 0: none found
    unsigned char* pps;  ///< the last picture parameter set; null: none found
    uint32_t ppsSize;    ///< bytes at `pps`, start code included; 0: none found
} ParameterSetData;

/// @name Parse handles
/// @{

/// Creates a parse handle.
///
/// The handle assembles access units in a ring of `queueCount` blocks, and has one spare block. A block grows
/// if an access unit does not fit. More blocks keep the reported bytes valid for longer; **with fewer than 2,
/// the reported bytes are overwritten before the call returns** (see `VideoInfo::accessUnitData`).
///
/// @param handle      Receives the handle; null on failure. A null address: -1.
/// @param codec       The codec of the streams that the handle will read.
/// @param queueCount  Number of blocks in the ring. 0: 6.
/// @param queueSize   Bytes of each block at the start. 0: 100000.
/// @retval 0   Created.
/// @retval -1  A null address (nothing is written), an unknown codec, or out of memory.
VIDEOPARAMS_API int64_t ParseCreate(void** handle, VideoCodecType codec, unsigned int queueCount,
                                    unsigned int queueSize);

/// Frees a parse handle and all results that it returned.
///
/// @param handle  From `ParseCreate`. Do not use it afterwards.
/// @retval 0   Freed.
/// @retval -1  A null handle, or a user-data handle (which stays usable).
VIDEOPARAMS_API int64_t ParseRelease(void* handle);

/// Takes stream bytes and reports the access unit that they complete.
///
/// An access unit is complete when the first slice of the next picture arrives. Therefore **reports are one
/// picture late**. A flush (a call with null or size 0) reports the last access unit. After it, the next call
/// begins a new stream; the handle keeps the parameter sets that it knows. A second flush reports nothing.
/// Each field of an interlaced stream is an access unit of its own.
///
/// The slice headers show where a picture begins (ITU-T H.264, 7.4.1.2.4; ITU-T H.265, 7.4.2.4.5). Therefore
/// **a damaged `frame_num` splits an H.264 picture into two access units**. In H.265, every picture of a
/// **layer above 0** is an access unit of its own. Units that are not read (H.264 data partitions B and C,
/// slice extensions, auxiliary pictures) go to the access unit that is being assembled. The handle keeps a
/// whole access unit in memory, however large the stream makes it.
///
/// H.264 slices with unknown parameter sets are dropped. **The handle inserts the SPS and PPS that it holds
/// into an H.264 key frame without a readable SPS**, so that a decoder can start there. It holds the first
/// ones of the stream, or those of `SetParameterSetData`. It inserts only if it holds both: directly after
/// the access unit delimiter, or at the front if there is no delimiter. An H.265 handle inserts nothing.
///
/// A report does not show whether parameter sets were inserted. To get the original bytes of such a key
/// frame, keep the bytes that you pass. If you pass one access unit per call, a report describes the access
/// unit of the previous call. If you pass one unit per call, a report has the next units that you passed, in
/// order: if the report is larger than these units, an SPS and a PPS were inserted.
///
/// If memory runs out after a unit was read, the result does not show it: **a unit that cannot be stored is
/// missing from its access unit**. An H.264 parameter set that cannot be stored stays unknown (slices that
/// need it are dropped) or is not inserted into key frames.
///
/// @param handle  A parse handle.
/// @param data    **Whole units** with their start codes: one unit, or one access unit, per call. Read during
///                the call, never kept. Null: flush.
/// @param size    Bytes at `data`. 0: flush. 1 to 4: nothing is read.
/// @param info    Cleared, then filled if the call completes an access unit. If the call completes several,
///                the last one is described and the others are lost. `VideoInfo::accessUnitData` describes
///                how long the bytes stay valid.
/// @retval 0   Taken, whether or not `info` reports an access unit. A start code that is immediately followed
///             by another start code ends the call with 0; the rest of the buffer is not read.
/// @retval -1  One of these:
///             - a null handle, a user-data handle or a null `info`: nothing changes;
///             - no start code in 5 bytes or more: `info` is cleared, no unit is taken;
///             - a unit with `forbidden_zero_bit` 1, or out of memory while a unit is read: the units before
///               it are taken and may be reported in `info`; the rest of the buffer is not read.
VIDEOPARAMS_API int64_t ParseVideoParams(void* handle, const unsigned char* data, unsigned int size,
                                         VideoInfo* info);

/// Tests whether an H.264 sample continues the sequence of reference pictures, and describes its first slice.
///
/// Pass every sample of a stream, one per call, in decoding order. The test compares `frame_num` of the first
/// slice with that of the last reference picture (ITU-T H.264, 7.4.3). It does not test IDR pictures, streams
/// that allow gaps (`gaps_in_frame_num_value_allowed_flag`), or the second field of a pair.
///
/// - **A gap flags the samples after it, up to and including the next reference picture.** Later samples are
///   compared with that picture.
/// - A missing picture that was not a reference cannot be detected.
/// - **Some fields of a correct stream are flagged**: after a picture of two intra fields; after an intra
///   frame, if top fields come first; and after a change of the field order. The test then takes second
///   fields for first fields, until a picture comes of which only the first field is intra.
/// - Samples after a picture with `memory_management_control_operation` 5 are flagged, because the test does
///   not read this element.
/// - A first sample that is not an IDR picture is compared with a `frame_num` of 0.
///
/// `docs/continuity.md` has the details. The parameter sets and slice headers that the test reads are shared
/// by the whole handle. Use a separate handle for `ParseVideoParams`; otherwise the analysis may split or
/// join pictures.
///
/// @code
/// VideoInfoEx test = {0};
/// VideoSampleTest(handle, sample, sampleSize, &test);
/// if (test.sampleError)
///     puts("reference pictures are missing before this sample");
/// @endcode
///
/// @param handle  A parse handle for H.264. With an H.265 handle, the call returns 0 and writes nothing.
/// @param data    The sample: an access unit, start codes included. Read during the call, never kept. Null:
///                no units.
/// @param size    Bytes at `data`.
/// @param test    Cleared, then filled from the first slice of `nal_unit_type` 1, 2 or 5.
/// @retval 0   Tested, or the sample has no slice (all fields 0).
/// @retval -1  A null handle, a user-data handle or a null record (nothing changes); no start code in 5 bytes
///             or more (all fields 0); unknown parameter sets (`sampleError` 1, the other fields 0); or out
///             of memory (all fields 0).
VIDEOPARAMS_API int64_t VideoSampleTest(void* handle, const unsigned char* data, unsigned int size,
                                        VideoInfoEx* test);

/// Finds the picture type of an H.264 sample: `slice_type` of its first slice of `nal_unit_type` 1 or 5.
///
/// The call needs no parameter sets. It changes nothing in the handle, except that it ends an iteration of
/// `GetNalUnit`. **A slice that is cut before its `slice_type` is reported as type 0** (`VideoPicP`), with
/// result 0.
///
/// @code
/// VideoPicType type = VideoPicUnknown;
/// if (QueryType(handle, sample, sampleSize, type) == 0)    // C: &type
///     isB = type == VideoPicB || type == VideoPicAllB;
/// @endcode
///
/// @param handle  A parse handle. With an H.265 handle, `type` becomes `VideoPicUnknown` and the result is
///                -1.
/// @param data    The sample, start codes included. Read during the call, never kept. Null: -1.
/// @param size    Bytes at `data`.
/// @param type    Receives the `slice_type` as coded, or `VideoPicUnknown` if the result is -1.
/// @retval 0   Found.
/// @retval -1  A null handle, a user-data handle or a null pointer for `type` (nothing changes); no such
///             slice; no start code; before the slice, a unit with `forbidden_zero_bit` 1 or a start code
///             that is immediately followed by another one; or out of memory.
VIDEOPARAMS_API int64_t QueryType(void* handle, const unsigned char* data, unsigned int size,
                                  VIDEOPARAMS_OUT_REFERENCE(VideoPicType) type);

/// @}
/// @name Parameter sets
/// @{

/// Gives an H.264 handle the parameter sets of a stream without them, or replaces the ones that it holds.
///
/// The handle keeps copies. From then on it can read slices that refer to them, and it inserts the copies
/// into key frames without an SPS (see `ParseVideoParams`). The copies stay until the next call; parameter
/// sets of the stream do not replace them. A handle that was given none holds **the first ones of the
/// stream**, also if the stream changes them later: `examples/refresh-parameter-sets.cpp` shows how to follow
/// the changes. The handle holds one SPS and one PPS, whatever their identifiers are. Elements that the SPS
/// does not code (frame rate, colour) keep the values of the SPS that was held before.
///
/// @code
/// SetParameterSetData(handle, avcc.sps, avcc.spsSize, avcc.pps, avcc.ppsSize);
/// @endcode
///
/// @param handle   A parse handle for H.264. With an H.265 handle, the call returns 0 and does nothing.
/// @param sps      One SPS unit (ITU-T H.264, 7.3.2.1), with or without its start code; without it, the copy
///                 begins with 00 00 00 01. Copied during the call. Null: -1.
/// @param spsSize  Bytes at `sps`. 0: -1.
/// @param pps      One PPS unit (ITU-T H.264, 7.3.2.2), in the same form. Null: -1.
/// @param ppsSize  Bytes at `pps`. 0: -1.
/// @retval 0   Both are held; what could be read is known.
/// @retval -1  A null handle, a user-data handle, or a null or empty argument (nothing changes); a unit that
///             is too short or has `forbidden_zero_bit` 1 (both are held anyway); or out of memory (the
///             handle holds the previous pair or this pair, never one of each).
VIDEOPARAMS_API int64_t SetParameterSetData(void* handle, unsigned char* sps, unsigned int spsSize,
                                            unsigned char* pps, unsigned int ppsSize);

/// Finds the last SPS and the last PPS in a part of an H.264 stream.
///
/// @code
/// ParameterSetData sets = {0};
/// if (GetParameterSetData(handle, data, size, &sets) == 0 && sets.sps != NULL)
///     fwrite(sets.sps, 1, sets.spsSize, file);
/// @endcode
///
/// @param handle  A parse handle for H.264. With an H.265 handle, the call returns 0 and writes nothing.
/// @param data    Stream bytes, start codes included. Read during the call, never kept. Null: -1.
/// @param size    Bytes at `data`. 0: -1.
/// @param sets    Cleared, then filled with copies that belong to the handle, see `ParameterSetData`. The
///                copies may be passed to `SetParameterSetData`. Null: -1.
/// @retval 0   Searched, also if nothing was found.
/// @retval -1  A null handle, a user-data handle, or a null or empty argument (nothing changes); no start
///             code in 5 bytes or more, or out of memory (`sets` is all zero).
VIDEOPARAMS_API int64_t GetParameterSetData(void* handle, unsigned char* data, unsigned int size,
                                            ParameterSetData* sets);

/// @}
/// @name NAL units
/// @{

/// Begins an iteration over the units of an H.264 buffer. `GetNalUnit` then returns them one by one.
///
/// **The buffer must stay valid and unchanged until the iteration ends.** This is the only call after which
/// the handle keeps the caller's address. Any other call on the handle that reads stream bytes ends the
/// iteration, and so does a new `SetVideoData`.
///
/// @param handle  A parse handle for H.264. With an H.265 handle, the call returns 0 and does nothing.
/// @param data    Stream bytes, start codes included; not copied. Null: the iteration is empty.
/// @param size    Bytes at `data`.
/// @retval 0   Begun.
/// @retval -1  A null handle or a user-data handle.
VIDEOPARAMS_API int64_t SetVideoData(void* handle, unsigned char* data, unsigned int size);

/// Returns the next unit of the iteration that `SetVideoData` began, and measures the header of a slice.
///
/// **The length counts the bytes of the elements that are read: up to the picture order count** (ITU-T H.264,
/// 7.3.3), not the whole slice header. It counts from the first byte after the unit header, up to and
/// including the byte with the next unread bit, with the emulation prevention bytes that a correct unit has
/// there. **It can be one byte more than the unit has**, if the unit ends with these elements. A slice with
/// unknown parameter sets is measured up to `pic_parameter_set_id`.
///
/// The call also stores the parameter sets that it finds in the tables of the handle. Use a separate handle
/// for `ParseVideoParams`; otherwise the analysis may split or join pictures.
///
/// @code
/// SetVideoData(handle, data, size);
/// unsigned char* unit = NULL;
/// unsigned int unitSize = 0, headerLength = 0;
/// bool isSlice = false;
/// while (GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength) == 0)
///     printf("%u bytes%s\n", unitSize, isSlice ? ", a slice" : "");
/// @endcode
///
/// @param handle             A parse handle for H.264. **With an H.265 handle, the call always returns 0**
///                           and writes nothing.
/// @param unit               Receives the address of the unit's start code, in the buffer of `SetVideoData`.
/// @param unitSize           Receives the unit's bytes, start code included.
/// @param isSlice            Receives true if `nal_unit_type` is 1, 2 or 5, otherwise false; one byte.
/// @param sliceHeaderLength  Receives the bytes described above; 0 if the unit is not a slice.
/// @retval 0   A unit.
/// @retval -1  All four results are zero, except in the last two cases:
///             - the end, or no iteration;
///             - a skipped unit: one with `forbidden_zero_bit` 1, or a start code that is immediately
///               followed by another one. The next call continues after it. (To distinguish this from the
///               end, count the units with `GetNalFromFrame` first.)
///             - out of memory while a unit is read;
///             - out of memory while a parameter set is stored: the unit is returned;
///             - a null argument or a user-data handle: nothing changes.
VIDEOPARAMS_API int64_t GetNalUnit(void* handle, unsigned char** unit, unsigned int* unitSize, bool* isSlice,
                                   unsigned int* sliceHeaderLength);

/// Splits an H.264 buffer into its units, all at once.
///
/// @code
/// unsigned int count = 0;
/// unsigned char** units = NULL;
/// unsigned int* sizes = NULL;
/// GetNalFromFrame(handle, frame, frameSize, &count, &units, &sizes);
/// for (unsigned int i = 0; i < count; ++i)
///     Send(units[i], sizes[i]);
/// @endcode
///
/// @param handle  A parse handle for H.264. With an H.265 handle, the call returns 0 and writes nothing.
/// @param frame   Stream bytes, start codes included; not copied. Null: no units.
/// @param size    Bytes at `frame`.
/// @param count   Receives the number of units.
/// @param units   Receives an array of `count` addresses in `frame`, each of a start code; null if there are
///                no units. The array belongs to the handle and stays valid until its next `GetNalFromFrame`
///                or `ParseRelease`. Do not free it.
/// @param sizes   Receives an array of `count` sizes in bytes, start codes included. Valid as long as
///                `units`.
/// @retval 0   Split, also if there are no units.
/// @retval -1  No start code in 5 bytes or more, or out of memory (the results are 0, null and null); a null
///             handle, a user-data handle or a null result pointer (nothing changes).
VIDEOPARAMS_API int64_t GetNalFromFrame(void* handle, unsigned char* frame, unsigned int size,
                                        unsigned int* count, unsigned char*** units, unsigned int** sizes);

/// @}
/// @name User data
///
/// The caller's bytes are stored in one SEI message, `user_data_unregistered` (payloadType 5; ITU-T H.264,
/// D.1.7; ITU-T H.265, D.2.7). **One fixed identifier** marks the message, the same for every program that
/// uses this library:
///
///     05                                                payloadType
///     FF … FF nn                                        payloadSize: 16 + count as a sum of bytes
///     99 AE D3 1B B8 94 4B 97 AD 39 FB 4E D5 90 2B A1   uuid_iso_iec_11578
///     xx …                                              the caller's bytes, emulation prevention applied
///
/// A unit that the library writes for it is 00 00 00 01 06 … 80 in H.264 and 00 00 00 01 4E 01 … 80 in H.265.
/// To distinguish your messages from those of others, begin your bytes with a mark of your own. In H.265,
/// **suffix SEI units are not read and not changed**.
/// @{

/// Creates a user-data handle.
///
/// @param handle  Receives the handle; null on failure. A null address: -1.
/// @param codec   The codec of the streams that the handle will read.
/// @retval 0   Created.
/// @retval -1  A null address (nothing is written), an unknown codec, or out of memory.
VIDEOPARAMS_API int64_t UserDataCreate(void** handle, VideoCodecType codec);

/// Frees a user-data handle and all results that it returned.
///
/// @param handle  From `UserDataCreate`. Do not use it afterwards.
/// @retval 0   Freed.
/// @retval -1  A null handle, or a parse handle (which stays usable).
VIDEOPARAMS_API int64_t UserDataRelease(void* handle);

/// Copies an access unit and inserts a user-data message into the copy.
///
/// The message becomes the last message of the first SEI unit (H.265: prefix SEI unit). If a slice comes
/// first, the message gets an SEI unit of its own directly before that slice (H.264: `nal_unit_type` 1 to 5;
/// H.265: 0 to 31). In H.264 this new unit can come between a prefix unit (`nal_unit_type` 14) and its slice;
/// a decoder of scalable or multiview streams may then ignore the prefix unit.
///
/// **One call serves one access unit**: if the buffer has several, only the first gets the message. The rest
/// is copied byte for byte, with two exceptions: bytes before the first start code, and bytes after the
/// trailing byte (80) of an SEI unit, are dropped.
///
/// @code
/// const unsigned char* edited = NULL;
/// unsigned int editedSize = 0;
/// if (AddUserData(handle, accessUnit, size, stamp, stampSize, &edited, &editedSize) == 0)
///     fwrite(edited, 1, editedSize, file);
/// else if (edited != NULL)
///     puts("the data has neither an SEI unit nor a slice");
/// else
///     puts("failed");
/// @endcode
///
/// @param handle      A user-data handle.
/// @param data        An access unit, start codes included. Read during the call, never kept. It must not lie
///                    in the handle's own result of `AddUserData` or `GetUserData`. Null: no units.
/// @param size        Bytes at `data`.
/// @param userData    The bytes to store, of any value. May be null if `count` is 0.
/// @param count       Bytes at `userData`. 0: a message without bytes.
/// @param output      Receives the address of the copy. It belongs to the handle and stays valid until the
///                    next `AddUserData`, `GetUserData` or `UserDataRelease`. Do not free it. **Set it to
///                    null before the call** to distinguish the two kinds of -1.
/// @param outputSize  Receives the bytes at `output`.
/// @retval 0   The copy has the message.
/// @retval -1  One of these:
///             - with the outputs set: there is no place for the message, because there is neither an SEI
///               unit nor a slice. The copy is without the message.
///             - with the outputs unchanged: a null handle, a parse handle or a null result pointer; a null
///               `userData` with a `count`; `data` in the handle's own result; an SEI unit without a trailing
///               byte; out of memory; or a copy whose block (up to twice the size of the copy) would exceed
///               32 bits.
VIDEOPARAMS_API int64_t AddUserData(void* handle, const unsigned char* data, unsigned int size,
                                    const unsigned char* userData, unsigned int count,
                                    const unsigned char** output, unsigned int* outputSize);

/// Finds the bytes that `AddUserData` stored in a stream.
///
/// **If the buffer has several messages, the last one is returned.** Pass one access unit per call to get
/// each of them.
///
/// @code
/// const unsigned char* stamp = NULL;
/// unsigned int stampSize = 0;
/// if (GetUserData(handle, accessUnit, size, &stamp, &stampSize) == 0 && stamp != NULL)
///     Use(stamp, stampSize);
/// @endcode
///
/// @param handle      A user-data handle.
/// @param data        An access unit, start codes included. Read during the call, never kept. Null: no units.
/// @param size        Bytes at `data`.
/// @param output      Receives the address of the bytes; null if there is no message. They belong to the
///                    handle and stay valid until the next `AddUserData`, `GetUserData` or `UserDataRelease`.
///                    Do not free them.
/// @param outputSize  Receives the number of bytes. 0 with a non-null address: a message without bytes.
/// @retval 0   Searched, whether or not a message was found.
/// @retval -1  No start code in 5 bytes or more, or out of memory (null and 0); a null handle, a parse handle
///             or a null result pointer (nothing changes).
VIDEOPARAMS_API int64_t GetUserData(void* handle, const unsigned char* data, unsigned int size,
                                    const unsigned char** output, unsigned int* outputSize);

/// Copies a stream without its user-data messages.
///
/// **Every SEI message of payloadType 5 is removed, whoever wrote it.** Some decoders use such messages: for
/// example, an encoder can put its name and version there. Without this signature, a decoder may choose the
/// wrong workarounds for faults of that encoder.
///
/// Every SEI unit (H.265: prefix SEI unit) is written again from its remaining messages, with a four-byte
/// start code and the header shown above. A message that is longer than its unit is dropped, with the rest of
/// the unit. An SEI unit without messages is left out, and so are a start code that is immediately followed
/// by another one and bytes before the first start code. The rest is copied byte for byte. So an SEI unit
/// that `AddUserData` created disappears, and one of the written form that `AddUserData` extended gets its
/// original bytes back.
///
/// @code
/// const unsigned char* plain = NULL;
/// unsigned int plainSize = 0;
/// if (RemoveUserData(handle, accessUnit, size, &plain, &plainSize) == 0)
///     fwrite(plain, 1, plainSize, file);
/// @endcode
///
/// @param handle      A user-data handle.
/// @param data        Stream bytes, start codes included. Read during the call, never kept. They must not lie
///                    in the handle's own result of `RemoveUserData`. Null: no units.
/// @param size        Bytes at `data`.
/// @param output      Receives the address of the copy, also if nothing was removed. It belongs to the handle
///                    and stays valid until the next `RemoveUserData` or `UserDataRelease`. Do not free it.
/// @param outputSize  Receives the bytes at `output`.
/// @retval 0   Copied.
/// @retval -1  No start code in 5 bytes or more (a non-null address and 0 bytes); out of memory, or a copy
///             whose block (up to twice the size of the copy) would exceed 32 bits (null and 0); a null
///             handle, a parse handle, a null result pointer, or `data` in the handle's own result (nothing
///             changes).
VIDEOPARAMS_API int64_t RemoveUserData(void* handle, const unsigned char* data, unsigned int size,
                                       const unsigned char** output, unsigned int* outputSize);

/// @}

#ifdef __cplusplus
}
#endif

#endif
