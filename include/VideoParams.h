// VideoParams: analysis and editing of H.264/AVC and H.265/HEVC Annex B elementary streams.
//
// SPDX-License-Identifier: MIT

/// @file
/// @brief The whole interface of libVideoParams: fifteen functions and the records they fill.
///
/// @par Feeding a stream
/// **Hand over whole NAL units, one a call.** Every call scans its own buffer and nothing but that buffer:
/// - bytes in front of the buffer's first start code (00 00 01 or 00 00 00 01) are dropped;
/// - a start code is seen only when at least 5 bytes, counted from its first zero, are left in the buffer;
/// - a buffer of 1 to 4 bytes is ignored;
/// - a start code with the next one at its heels ends `ParseVideoParams`, `VideoSampleTest` and `QueryType`;
/// - when several access units are completed by one call, only the last of them is reported.
///
/// A buffer with one whole unit of 5 bytes or more (its start code first) avoids all five; a shorter unit
/// goes with the one before it. `include/videoparams/nal_feeder.hpp` takes a stream in pieces of any size and
/// hands on whole units. A buffer with one whole access unit is as good, and faster.
///
/// @code
/// void* parser;
/// if (ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0)
///     return;
/// VideoInfo info;
/// while (NextUnit(&unit, &unitSize)) {               // your demuxer
///     ParseVideoParams(parser, unit, unitSize, &info);
///     if (info.accessUnitFound)                      // one picture late
///         Use(info.accessUnitData, info.accessUnitSize, info.keyFrame);
/// }
/// ParseVideoParams(parser, NULL, 0, &info);          // flush: the last access unit
/// if (info.accessUnitFound)
///     Use(info.accessUnitData, info.accessUnitSize, info.keyFrame);
/// ParseRelease(parser);
/// @endcode
///
/// @par Two families of handles
/// A **parse handle** (`ParseCreate` … `ParseRelease`) serves stream analysis, sample queries, parameter sets
/// and the walk over NAL units. A **user-data handle** (`UserDataCreate` … `UserDataRelease`) inserts,
/// extracts and removes user-data SEI messages. A function called on a handle of the other family returns -1
/// and does nothing.
///
/// @par Results
/// Every function returns 0 for success or -1 for failure. A null handle is -1. A null pointer for a result
/// that the call would write is -1 too, and nothing is changed. No exception leaves the library.
///
/// @par Memory
/// A pointer that comes back addresses the host's own input or a block of the handle. The host never frees
/// it; the library never frees what the host passes, and apart from `SetVideoData` never keeps it. Input must
/// not lie in a block of the same handle, with one exception: the results of `AddUserData` and
/// `RemoveUserData` may be given to `GetUserData`, and that of one of the two to the other.
///
/// What a handle holds depends on its configuration and on the largest unit and access unit that it has met,
/// not on the length of the stream; without slices, or a flush, a stream is one access unit. A parse handle
/// holds at most `queueCount` + 2 blocks of 1.5 times the largest access unit (or of `queueSize` bytes, if
/// that is more), five of 1.5 times the largest unit, 18 bytes for each unit of a frame that it split, and
/// 100 KB. A user-data handle holds at most 11 times the largest access unit that it took or gave, 5 times
/// the largest user data, and 3.2 MB.
///
/// When memory runs out, the call says -1, what is held stays as it was and a later call works again;
/// `ParseVideoParams` and `SetParameterSetData` tell of exceptions.
///
/// @par Threads
/// The library has no global state and starts no threads. A handle is used by one thread at a time; different
/// handles on different threads at once.
///
/// @par Hostile input
/// Any bytes are allowed everywhere. Values are reported as the stream codes them, **without range checks**:
/// check `width` and `height` before you allocate by them, and `frameRateDenominator` before you divide.

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

// VIDEOPARAMS_STATIC: link the static library. VIDEOPARAMS_BUILD: this is the library's own build.
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

// Enumerations are 32 bits and hold any 32-bit value.
#ifdef __cplusplus
#define VIDEOPARAMS_ENUM_BASE : int32_t
#else
#define VIDEOPARAMS_ENUM_BASE
#endif

// QueryType takes a reference in C++ and the same address as a pointer in C. The library's own build takes
// the pointer, so that a null from C can be told.
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

/// The `slice_type` of an H.264 slice as coded (ITU-T H.264, Table 7-6). Values above 9, which no sound
/// stream has, are stored as they are.
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

/// What `ParseVideoParams` says of one access unit. All fields are zero when the call completed none.
///
/// The fields from `width` on describe the sequence. They are filled when the access unit carries a sequence
/// parameter set, and for an H.264 key frame also when it carries none but the handle holds one;
/// `sequenceInfoValid` tells. A host that needs them all the time keeps the last valid ones. What stands
/// behind the timing information of the VUI is not read.
typedef struct VideoInfo
{
    /// 1: this call completed an access unit, and the other fields describe it. 0: none.
    uint32_t accessUnitFound;
    /// 1: the fields from `width` on are filled, by this access unit or by an earlier one that the same call
    /// completed. 0: they are zero.
    uint32_t sequenceInfoValid;
    /// 1: the access unit holds an H.264 IDR slice (`nal_unit_type` 5) or an H.265 IRAP slice
    /// (`nal_unit_type` 16 to 21: BLA, IDR or CRA). 0: it does not. Recovery points are not counted. (H.264:
    /// 0 also when units in front of a next picture stand behind the IDR slices and then the flush comes:
    /// they are taken for the same access unit.)
    uint32_t keyFrame;
    /// The access unit's NAL units with their start codes, in the order of the stream; an H.264 key frame may
    /// have the held parameter sets inserted. The bytes belong to the handle. They stay valid until the
    /// handle's `queueCount`-th access unit after this one is begun (with the default of 6: through the calls
    /// that report the next four access units; the call that reports the fifth overwrites them) or until
    /// `ParseRelease`. A flush takes no part in the count. **With a `queueCount` of 1 only a flush reports
    /// bytes that may be read.**
    const unsigned char* accessUnitData;
    /// Bytes at `accessUnitData`.
    uint32_t accessUnitSize;
    /// Luma samples after cropping (H.264) or the conformance window (H.265, whose default display window is
    /// not applied). Cropping larger than the picture wraps modulo 2^32: **check before you allocate.**
    uint32_t width;
    /// Luma samples after cropping. H.264: of a frame, also where the stream codes fields; H.265: of a
    /// picture, which may be a field. Wraps like `width`.
    uint32_t height;
    /// Frame rate = `frameRateNumerator` / `frameRateDenominator` frames a second; both 0 when the stream
    /// does not say. H.264: `time_scale`. H.265: `vui_time_scale` or the `vps_time_scale` of a VPS in the
    /// same access unit, the later of the two in the stream, which in a sound one is that of the VUI. Of
    /// several sequence parameter sets in one access unit the last counts; what it does not code may stay as
    /// the ones before left it, here and in the colour fields.
    uint32_t frameRateNumerator;
    /// H.264: **2 ×** `num_units_in_tick`, since a frame lasts two ticks. H.265: `vui_num_units_in_tick` or
    /// `vps_num_units_in_tick`, **not** doubled: a tick is a picture, also where pictures code one field. May
    /// be 0 and wraps modulo 2^32: **check before you divide.**
    uint32_t frameRateDenominator;
    /// The seven colour fields hold the VUI elements of these names (ITU-T H.264 E.2.1, H.265 E.3.1). All are
    /// 0 when there is no VUI. 1: the next three elements are coded.
    uint32_t video_signal_type_present_flag;
    uint32_t video_format;                     ///< 5 (unspecified) when not coded
    uint32_t video_full_range_flag;            ///< 0 when not coded
    uint32_t colour_description_present_flag;  ///< 1: the next three elements are coded; 0 when not coded
    uint32_t colour_primaries;                 ///< 2 (unspecified) when not coded
    uint32_t transfer_characteristics;         ///< 2 (unspecified) when not coded
    uint32_t matrix_coefficients;              ///< 2 (unspecified) when not coded; `matrix_coeffs` of H.265
    unsigned char reserved1[1024];             ///< zero
    unsigned char reserved2[1088];             ///< zero
} VideoInfo;

/// What `VideoSampleTest` says of a sample. All fields are 0 when the sample has no slice.
typedef struct VideoInfoEx
{
    /// 1: the first slice's parameter sets are unknown (the result is then -1), or the sample breaks the
    /// sequence of `frame_num`. 0: neither.
    uint32_t sampleError;
    /// 1: the first slice codes a frame. 0: a field, or unknown.
    uint32_t isFrame;
    /// 1: the first slice is an IDR slice or an I slice (`slice_type` 2 or 7). 0: neither, or unknown.
    uint32_t isIntra;
} VideoInfoEx;

/// The parameter sets that `GetParameterSetData` found: NAL units with their start codes, null and 0 where
/// none was found. The bytes belong to the handle and stay valid until its next `GetParameterSetData` or
/// `ParseRelease`.
typedef struct ParameterSetData
{
    unsigned char* vps;  ///< always null
    uint32_t vpsSize;    ///< always 0
    unsigned char* sps;  ///< the last sequence parameter set
    uint32_t spsSize;    ///< bytes at `sps`
    unsigned char* pps;  ///< the last picture parameter set
    uint32_t ppsSize;    ///< bytes at `pps`
} ParameterSetData;

/// @name Parse handles
/// @{

/// Makes a parse handle.
///
/// The handle assembles access units in a ring of `queueCount` blocks of `queueSize` bytes each, and one
/// spare block; a block grows when an access unit does not fit. More blocks keep the reported bytes valid for
/// longer; **fewer than 2 do not keep them at all**.
///
/// @param handle      Receives the handle; null on failure. A null address: -1.
/// @param codec       The codec of the streams to come.
/// @param queueCount  Blocks of the ring; 0: 6.
/// @param queueSize   Bytes of each block; 0: 100000.
/// @return 0: made. -1: a null address, an unknown codec, or memory ran out.
VIDEOPARAMS_API int64_t ParseCreate(void** handle, VideoCodecType codec, unsigned int queueCount,
                                    unsigned int queueSize);

/// Frees a parse handle and everything that it handed out.
///
/// @param handle  From ParseCreate; not to be used again.
/// @return 0: freed. -1: a null handle, or a user-data handle (which stays as it is).
VIDEOPARAMS_API int64_t ParseRelease(void* handle);

/// Takes in stream bytes and reports the access unit that they complete.
///
/// An access unit is complete when the first slice of the next picture arrives, so **reports are one picture
/// late**. An empty call (null or size 0) flushes: it reports the last access unit, and the next call begins
/// a new stream with the parameter sets that are known. A second flush reports nothing. Each field of an
/// interlaced stream is an access unit of its own. H.264 slices whose parameter sets are unknown are dropped;
/// an H.264 key frame that carries no readable sequence parameter set gets the held SPS and PPS (the first of
/// the stream, or those of `SetParameterSetData`), where both are held, inserted behind its access unit
/// delimiter, or at its front where it has none. An H.265 handle holds and inserts none.
///
/// Where a picture begins is told by its slice headers: **a broken `frame_num` splits an H.264 picture**.
/// **H.265 layers above 0 are not told apart**: each of their pictures is an access unit of its own. Other
/// units that are not read (H.264 data partitions B and C, slice extensions, auxiliary pictures) go with the
/// access unit at hand, which is kept whole in memory, however large the stream makes it.
///
/// @param handle  A parse handle.
/// @param data    **Whole NAL units**, start codes included, one a call or an access unit a call: a unit that
///                goes on in the next buffer is cut in two. Read during the call, never kept. Null: flush.
/// @param size    Bytes at `data`; 0: flush.
/// @param info    Cleared, then filled when the call completes an access unit. When it completes several, the
///                last one is described and the others are lost. The bytes it points at are the handle's; see
///                `VideoInfo::accessUnitData`.
/// @return 0: taken in, whether or not `info` reports. A start code alone, with the next one at its heels,
///         ends the call here: the rest of the buffer is not looked at. -1: a null handle or `info`
///         (untouched); more than 4 bytes without a start code (nothing changed); a unit with
///         `forbidden_zero_bit` 1, or one for which there is no memory to read it (the units before it are
///         taken in and may be reported in `info`, the rest of the buffer is not looked at). The result does
///         not tell of memory that runs out behind that: **a unit that cannot be stored is missing from its
///         access unit**; an H.264 parameter set that cannot be kept stays unknown, so that slices which need
///         it are dropped, or is not put into key frames.
VIDEOPARAMS_API int64_t ParseVideoParams(void* handle, const unsigned char* data, unsigned int size,
                                         VideoInfo* info);

/// Tells whether an H.264 sample continues the sequence of reference pictures, and what its first slice is.
///
/// Give it every sample of a stream, one a call, in decoding order. It tests `frame_num` of the first slice
/// against that of the last reference picture (ITU-T H.264, 7.4.3). It does not test IDR pictures, streams
/// that allow gaps (`gaps_in_frame_num_value_allowed_flag`), and the second field of a pair.
///
/// **A gap flags the samples behind it, up to and including the next reference picture**, against which the
/// ones behind are tested. A missing picture that was no reference leaves no trace. **Fields of a sound
/// stream are flagged** behind a picture of two intra fields and, where top fields come first, behind an
/// intra frame: second fields are tested like first ones, until a picture comes of which only the first field
/// is intra; so they are where the order of the fields changes. Samples behind a picture with
/// `memory_management_control_operation` 5, which is not read, are flagged too, and a first sample that is no
/// IDR picture is tested as if a `frame_num` of 0 had been before it.
///
/// The parameter sets and slice headers that it reads are those of the whole handle: use a handle of its own
/// beside `ParseVideoParams`, or the analysis may split or join pictures.
///
/// @code
/// VideoInfoEx test;
/// VideoSampleTest(handle, sample, sampleSize, &test);
/// if (test.sampleError)
///     puts("pictures are missing in front of this sample");
/// @endcode
///
/// @param handle  A parse handle for H.264. On one for H.265 the call returns 0 and writes nothing.
/// @param data    The sample: an access unit, start codes included. Null reads as empty.
/// @param size    Bytes at `data`.
/// @param test    Cleared, then filled from the first slice of type 1, 2 or 5.
/// @return 0: tested, or the sample has no slice (the record is all zero). -1: a null handle or record
///         (untouched), no start code in 5 bytes or more (record zero), unknown parameter sets (`sampleError`
///         1), or memory ran out (record zero).
VIDEOPARAMS_API int64_t VideoSampleTest(void* handle, const unsigned char* data, unsigned int size,
                                        VideoInfoEx* test);

/// Tells the picture type of an H.264 sample from its first slice of type 1 or 5. Needs no parameter sets and
/// changes nothing in the handle but that it ends an iteration of `GetNalUnit`.
///
/// @code
/// VideoPicType type;
/// if (QueryType(handle, sample, sampleSize, type) == 0)    // C: &type
///     isB = type == VideoPicB || type == VideoPicAllB;
/// @endcode
///
/// @param handle  A parse handle. H.265: `type` becomes -1 and the result is -1.
/// @param data    The sample, start codes included; null: -1.
/// @param size    Bytes at `data`.
/// @param type    Receives the `slice_type`, or `VideoPicUnknown` on failure.
/// @return 0: found. -1: a null handle (`type` untouched), no such slice, no start code, a unit with
///         `forbidden_zero_bit` 1 or a start code alone in front of the slice, or memory ran out.
VIDEOPARAMS_API int64_t QueryType(void* handle, const unsigned char* data, unsigned int size,
                                  VIDEOPARAMS_OUT_REFERENCE(VideoPicType) type);

/// @}
/// @name Parameter sets
/// @{

/// Gives an H.264 handle the parameter sets of a stream that carries none, or replaces the held ones.
///
/// Each input is one NAL unit, with its start code or without (00 00 00 01 is then put in front). The handle
/// keeps copies, which the analysis inserts into key frames that have none, and slices can be read from then
/// on. The copies stay until the next call; those of the stream do not replace them. A handle that was given
/// none holds **the first ones of the stream**, also when the stream changes them:
/// `examples/refresh-parameter-sets.cpp` shows how to keep up. One of each kind is held, whatever its
/// identifier. What the SPS does not code (frame rate, colour) stays as the sets held before left it.
///
/// @code
/// SetParameterSetData(handle, avcc.sps, avcc.spsSize, avcc.pps, avcc.ppsSize);
/// @endcode
///
/// @param handle   A parse handle for H.264. On one for H.265 the call returns 0 and does nothing.
/// @param sps      A sequence parameter set; copied. Null: -1.
/// @param spsSize  Bytes at `sps`; 0: -1.
/// @param pps      A picture parameter set; copied. Null: -1.
/// @param ppsSize  Bytes at `pps`; 0: -1.
/// @return 0: held, and as much of them is known as could be read. -1: a null or empty argument (nothing
///         changed); a unit that is too short or has `forbidden_zero_bit` 1 (both are held all the same);
///         memory ran out (the pair before or this one is held, never a mixture).
VIDEOPARAMS_API int64_t SetParameterSetData(void* handle, unsigned char* sps, unsigned int spsSize,
                                            unsigned char* pps, unsigned int ppsSize);

/// Finds the last sequence and the last picture parameter set in a piece of H.264 stream.
///
/// @code
/// ParameterSetData sets;
/// if (GetParameterSetData(handle, data, size, &sets) == 0 && sets.sps != NULL)
///     fwrite(sets.sps, 1, sets.spsSize, file);
/// @endcode
///
/// @param handle  A parse handle for H.264. On one for H.265 the call returns 0 and writes nothing.
/// @param data    Stream bytes; null: -1.
/// @param size    Bytes at `data`; 0: -1.
/// @param sets    Cleared, then filled; the bytes are copies of the handle's own, see `ParameterSetData`.
///                Null: -1.
/// @return 0: searched, also when nothing was found. -1: a null or empty argument (`sets` untouched), or no
///         start code in 5 bytes or more, or memory ran out (`sets` all zero).
VIDEOPARAMS_API int64_t GetParameterSetData(void* handle, unsigned char* data, unsigned int size,
                                            ParameterSetData* sets);

/// @}
/// @name NAL units
/// @{

/// Begins an iteration over the NAL units of an H.264 buffer; `GetNalUnit` takes them one by one.
///
/// **The buffer must stay in place until the iteration is over**: this is the one call that keeps the host's
/// address. Any other call that scans bytes on the handle ends the iteration.
///
/// @param handle  A parse handle for H.264. On one for H.265 the call returns 0 and does nothing.
/// @param data    Stream bytes, not copied. Null: the iteration is empty.
/// @param size    Bytes at `data`.
/// @return 0: begun. -1: a null handle.
VIDEOPARAMS_API int64_t SetVideoData(void* handle, unsigned char* data, unsigned int size);

/// Takes the next NAL unit of the iteration that `SetVideoData` began, and measures the slice header of a
/// slice.
///
/// **`sliceHeaderLength` counts the bytes that hold the elements read, up to the picture order count: less
/// than the whole slice header.** They are the bytes of the unit from (start code length + 1) on, with as
/// much emulation prevention as a sound unit has, up to the byte with the next unread bit: one byte beyond
/// the unit, where the unit ends with these elements. A slice whose parameter sets are unknown is measured up
/// to `pic_parameter_set_id`. Parameter sets met on the way are read into the handle's tables: use a handle
/// of its own beside `ParseVideoParams`, or the analysis may split or join pictures.
///
/// @code
/// SetVideoData(handle, data, size);
/// unsigned char* unit;
/// unsigned int unitSize, headerLength;
/// bool isSlice;
/// while (GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength) == 0)
///     printf("%u bytes%s\n", unitSize, isSlice ? ", a slice" : "");
/// @endcode
///
/// @param handle             A parse handle for H.264. On one for H.265 the call returns 0 and writes
///                           nothing.
/// @param unit               Receives the unit's address in the buffer of `SetVideoData`, at its start code.
/// @param unitSize           Receives the unit's bytes, start code included.
/// @param isSlice            Receives whether the unit is a slice of `nal_unit_type` 1, 2 or 5; one byte.
/// @param sliceHeaderLength  Receives the bytes described above; 0 when the unit is no slice.
/// @return 0: a unit. -1: the end, or no iteration; a unit skipped for its `forbidden_zero_bit` or because it
///         is a start code alone (the next call goes on behind it); memory ran out. All four are zero then;
///         only a parameter set that was delivered but could not be kept comes with -1. -1 also for a null
///         argument, with nothing changed.
VIDEOPARAMS_API int64_t GetNalUnit(void* handle, unsigned char** unit, unsigned int* unitSize, bool* isSlice,
                                   unsigned int* sliceHeaderLength);

/// Splits an H.264 buffer into its NAL units at once.
///
/// @code
/// unsigned int count;
/// unsigned char** units;
/// unsigned int* sizes;
/// GetNalFromFrame(handle, frame, frameSize, &count, &units, &sizes);
/// for (unsigned int i = 0; i < count; ++i)
///     Send(units[i], sizes[i]);
/// @endcode
///
/// @param handle  A parse handle for H.264. On one for H.265 the call returns 0 and writes nothing.
/// @param frame   Stream bytes, not copied. Null: no units.
/// @param size    Bytes at `frame`.
/// @param count   Receives the number of units.
/// @param units   Receives an array of their addresses in `frame`, each at its start code; null when there
///                are none. The array belongs to the handle and stays valid until its next GetNalFromFrame or
///                `ParseRelease`.
/// @param sizes   Receives an array of their sizes, start codes included; as `units`.
/// @return 0: split, also when there are no units. -1: no start code in 5 bytes or more, or memory ran out
///         (0, null, null); or a null handle or result pointer (nothing changed).
VIDEOPARAMS_API int64_t GetNalFromFrame(void* handle, unsigned char* frame, unsigned int size,
                                        unsigned int* count, unsigned char*** units, unsigned int** sizes);

/// @}
/// @name User data
///
/// The host's bytes travel in one SEI message, user_data_unregistered (payloadType 5), marked with **one
/// fixed identifier**, the same for every host of this library:
///
///     05                                                payloadType
///     FF … FF nn                                        payloadSize = 16 + count: 255s, and the rest
///     99 AE D3 1B B8 94 4B 97 AD 39 FB 4E D5 90 2B A1   uuid_iso_iec_11578
///     xx …                                              the bytes, emulation prevention applied
///
/// A unit written for it is 00 00 00 01 06 … 80 in H.264 and 00 00 00 01 4E 01 … 80 in H.265. To tell
/// messages of your own from others', begin your bytes with a mark. In H.265 **suffix SEI units are left
/// alone**.
/// @{

/// Makes a user-data handle.
///
/// @param handle  Receives the handle; null on failure. A null address: -1.
/// @param codec   The codec of the streams to come.
/// @return 0: made. -1: a null address, an unknown codec, or memory ran out.
VIDEOPARAMS_API int64_t UserDataCreate(void** handle, VideoCodecType codec);

/// Frees a user-data handle and everything that it handed out.
///
/// @param handle  From UserDataCreate; not to be used again.
/// @return 0: freed. -1: a null handle, or a parse handle (which stays as it is).
VIDEOPARAMS_API int64_t UserDataRelease(void* handle);

/// Copies an access unit and puts a user-data message into the copy.
///
/// The message becomes the last one of the first SEI unit (H.265: prefix SEI unit), or, where a slice comes
/// first, a SEI unit of its own in front of that slice. **One call serves one access unit**: in a buffer of
/// several, only the first gets the message. All else is copied byte for byte, except that bytes behind the
/// trailing byte (80) of a SEI unit are dropped.
///
/// @code
/// const unsigned char* edited;
/// unsigned int editedSize;
/// if (AddUserData(handle, accessUnit, size, stamp, stampSize, &edited, &editedSize) == 0)
///     fwrite(edited, 1, editedSize, file);
/// @endcode
///
/// @param handle      A user-data handle.
/// @param data        An access unit, start codes included; may not be the handle's own result of AddUserData
///                    or GetUserData. Null: no units.
/// @param size        Bytes at `data`.
/// @param userData    The bytes to carry, of any value. May be null when `count` is 0.
/// @param count       Bytes at `userData`.
/// @param output      Receives the copy's address. It belongs to the handle and stays valid until its next
///                    AddUserData, `GetUserData` or `UserDataRelease`.
/// @param outputSize  Receives the bytes at `output`.
/// @return 0: the copy carries the message. -1: no place for it, since there is neither a SEI unit nor a
///         slice: the outputs are set, and the copy is without the message. -1 with the outputs untouched: a
///         null handle or result pointer, no `userData` for a `count`, `data` in the handle's own result, a
///         SEI unit without a trailing byte, memory ran out, or the copy and the room that is made for it (at
///         most twice as much) go beyond 32 bits.
VIDEOPARAMS_API int64_t AddUserData(void* handle, const unsigned char* data, unsigned int size,
                                    const unsigned char* userData, unsigned int count,
                                    const unsigned char** output, unsigned int* outputSize);

/// Finds the bytes that `AddUserData` put into a stream.
///
/// **The last message of the buffer is returned**: give one access unit a call to get each.
///
/// @code
/// const unsigned char* stamp;
/// unsigned int stampSize;
/// if (GetUserData(handle, accessUnit, size, &stamp, &stampSize) == 0 && stamp != NULL)
///     Use(stamp, stampSize);
/// @endcode
///
/// @param handle      A user-data handle.
/// @param data        An access unit, start codes included. Null: no units.
/// @param size        Bytes at `data`.
/// @param output      Receives the address of the bytes, null when there is no message. They belong to the
///                    handle and stay valid until its next `AddUserData`, GetUserData or `UserDataRelease`.
/// @param outputSize  Receives their number; 0 with a non-null address is a message without bytes.
/// @return 0: searched, whether or not something was found. -1: no start code in 5 bytes or more, or memory
///         ran out (null and 0); or a null handle or result pointer (nothing written).
VIDEOPARAMS_API int64_t GetUserData(void* handle, const unsigned char* data, unsigned int size,
                                    const unsigned char** output, unsigned int* outputSize);

/// Copies a stream without its user-data messages.
///
/// **Every SEI message of payloadType 5 goes, whoever wrote it.** SEI units (H.265: prefix SEI units) are
/// written anew from the messages that remain, behind a four-byte start code and with the header shown above;
/// one without messages is left out, and so is a start code alone. All else is copied byte for byte. A SEI
/// unit that `AddUserData` made, or one of the written form that it added to, comes back as it was.
///
/// @code
/// const unsigned char* plain;
/// unsigned int plainSize;
/// if (RemoveUserData(handle, accessUnit, size, &plain, &plainSize) == 0)
///     fwrite(plain, 1, plainSize, file);
/// @endcode
///
/// @param handle      A user-data handle.
/// @param data        Stream bytes, start codes included; may not be the handle's own result of
///                    RemoveUserData. Null: no units.
/// @param size        Bytes at `data`.
/// @param output      Receives the copy's address, also when nothing was removed. It belongs to the handle
///                    and stays valid until its next RemoveUserData or `UserDataRelease`.
/// @param outputSize  Receives the bytes at `output`.
/// @return 0: copied. -1: no start code in 5 bytes or more (an empty copy); memory ran out, or the copy and
///         the room that is made for it (at most twice as much) go beyond 32 bits (null and 0); a null handle
///         or result pointer, or `data` in the handle's own result (nothing written).
VIDEOPARAMS_API int64_t RemoveUserData(void* handle, const unsigned char* data, unsigned int size,
                                       const unsigned char** output, unsigned int* outputSize);

/// @}

#ifdef __cplusplus
}
#endif

#endif
