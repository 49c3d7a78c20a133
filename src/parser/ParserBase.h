#pragma once

#include "VideoParams.h"
#include "analysis/VideoQueue.h"
#include "bitstream/NalRules.h"
#include "bitstream/StartCode.h"
#include "memory/Result.h"

#include <cstdint>

namespace videoparams {

struct ByteSink;

// Which create function made an object; the operations of the other family refuse it.
enum class HandleFamily
{
    Parse,
    UserData,
};

// A unit being read. Once it is opened, the bit reader stands behind its header.
struct OpenedUnit
{
    const unsigned char* data = nullptr;
    uint32_t size = 0;  // 0 until the unit is ended
    NalHeader header{};
    const unsigned char* rbsp = nullptr;  // null until the unit is opened
    uint32_t rbspSize = 0;
    bool rbspIsCut = false;  // these are its first bytes, and there are more

    bool IsEnded() const { return data == nullptr || size != 0; }
    bool IsEmpty() const { return data == nullptr || IsBareStartCode(data, size); }
};

// The object behind a handle: every buffer that both codecs use, one scanner, one RBSP, one bit reader.
// Buffers are freed by Release and UserDataRelease, not by the destructor.
class CParserBase : public HeapObject
{
public:
    CParserBase() = default;
    CParserBase(const CParserBase&) = delete;
    CParserBase& operator=(const CParserBase&) = delete;
    virtual ~CParserBase() = default;

    // The operations behind the exported functions. The base answers 0 and does nothing where a codec has
    // none.
    [[nodiscard]] virtual Result Create();
    virtual Result Release();
    virtual Result ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info, int reserved);
    virtual Result VideoSampleTest(const unsigned char* data, uint32_t size, VideoInfoEx* test);
    virtual Result QuerySliceType(const unsigned char* data, uint32_t size, VideoPicType& type);
    virtual Result SetVideoData(unsigned char* data, uint32_t size);
    virtual Result GetNalUnit(unsigned char** unit, uint32_t* unitSize, bool* isSlice,
                              uint32_t* sliceHeaderLength);
    virtual Result GetNalFromFrame(unsigned char* frame, uint32_t size, uint32_t* count,
                                   unsigned char*** units, uint32_t** sizes);
    [[nodiscard]] virtual Result UserDataCreate();
    virtual Result UserDataRelease();
    virtual Result AddUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char* data,
                               uint32_t dataLength, const unsigned char** output, uint32_t* outputLength);
    virtual Result GetUserData(const unsigned char* stream, uint32_t streamLength,
                               const unsigned char** output, uint32_t* outputLength);
    virtual Result RemoveUserData(const unsigned char* stream, uint32_t streamLength,
                                  const unsigned char** output, uint32_t* outputLength);
    virtual Result SetParameterSetData(unsigned char* sps, uint32_t spsSize, unsigned char* pps,
                                       uint32_t ppsSize);
    virtual Result GetParameterSetData(unsigned char* data, uint32_t size, ParameterSetData* sets);

    void SetBufferConfig(uint32_t count, uint32_t size);

    HandleFamily Family() const { return family; }
    void SetFamily(HandleFamily made) { family = made; }

protected:
    friend class CAccessUnitAssembly;

    // The scanner: walks the units of a byte stream that lies in the caller's memory.
    Result SetData(const unsigned char* data, uint32_t size);
    void Reset();
    static const unsigned char* GetStartCode(const unsigned char* position, uint32_t count);
    static const unsigned char* FindUnitEnd(const unsigned char* unit, uint32_t count);
    Result GetNalData(const unsigned char** unit, uint32_t* unitSize, const unsigned char** rbsp,
                      uint32_t* rbspSize);
    Result GetNalDataEx(const unsigned char** unit, uint32_t* unitSize);
    void EndScan();

    // The two steps of a delivery. EndUnitInto copies the unit on the way; false: it is larger than the room,
    // all of which may have been written to.
    Result BeginUnit();
    void EndUnit();
    void EndUnitAt(const unsigned char* startCode);
    uint32_t EndShortUnit();
    [[nodiscard]] bool EndUnitInto(unsigned char* destination, uint32_t room);

    // Begins the next unit and looks at its header; a start code alone has no type.
    Result BeginNextUnit(const NalRules& rules);

    // Open it for reading: as much of its RBSP as a slice header takes, or all. For those who read on in all
    // of it after all, OpenWhole goes back to the first bit behind the header.
    [[nodiscard]] Result OpenHead(const NalRules& rules);
    [[nodiscard]] Result OpenWhole(const NalRules& rules);
    bool HeadIsUsedUp() const;

    // Emulation prevention, H.264 7.4.1 and H.265 7.4.2.
    Result GetRbspData(const unsigned char* source, uint32_t size, const unsigned char** output,
                       uint32_t* outputSize);
    Result GetUnitRbsp(const unsigned char* unit, uint32_t unitSize, const unsigned char** rbsp,
                       uint32_t* rbspSize);
    Result GetRbspHead(const unsigned char* source, uint32_t size, uint32_t limit,
                       const unsigned char** output, uint32_t* outputSize);
    static Result AddEscape(const unsigned char* source, uint32_t size, unsigned char* destination,
                            uint32_t* length);
    static uint32_t CountEscapes(const unsigned char* source, uint32_t size);

    // The bit reader.
    void InitReadData(const unsigned char* data, uint32_t size);
    uint32_t ReadData(uint32_t count);
    static uint32_t BitsOf(uint32_t log2_minus4);
    uint32_t GetUE();
    int32_t GetSE();
    Result GetDataPtr(const unsigned char** data) const;
    NalHeader ReadNalHeader(const NalRules& rules);

    // The parts of vui_parameters() that both standards share, H.264 E.1.1 and H.265 E.2.1.
    void ReadVuiVideoDescription(VideoInfo& info);
    void ReadVideoSignalType(VideoInfo& info);

    // The user-data message, and its way into and out of a stream.
    [[nodiscard]] Result ArrangeUserData(const unsigned char* data, uint32_t length);
    Result InsertUserData(const NalRules& rules, const unsigned char* stream, uint32_t streamLength,
                          const unsigned char* data, uint32_t dataLength, const unsigned char** output,
                          uint32_t* outputLength);
    Result ExtractUserData(const NalRules& rules, const unsigned char* stream, uint32_t streamLength,
                           const unsigned char** output, uint32_t* outputLength);
    Result StripUserData(const NalRules& rules, const unsigned char* stream, uint32_t streamLength,
                         const unsigned char** output, uint32_t* outputLength);
    Result CopyWithMessage(const NalRules& rules, ByteSink& edited, bool& placed);
    Result CopyLastMessage(const NalRules& rules, bool& found);
    Result CopyWithoutMessages(const NalRules& rules, bool& copied);
    [[nodiscard]] bool CopyUnit();
    [[nodiscard]] bool RebuildSeiUnit(const NalRules& rules);
    [[nodiscard]] bool KeepOtherMessages(const NalRules& rules);
    [[nodiscard]] bool MakeRoomInRemoveOutput(uint64_t length);

    // The access units under assembly; owned.
    CVideoQueue* videoQueue = nullptr;

    // The user-data message under construction, emulation prevention applied.
    unsigned char* userDataBuffer = nullptr;
    uint32_t userDataBufferSize = 1024;
    uint32_t userDataLength = 0;

    // What insertion or extraction hands out.
    unsigned char* userDataOutput = nullptr;
    uint32_t userDataOutputSize = 3000000;
    uint32_t userDataOutputLength = 0;

    // Copies of the last parameter sets found; each size is the length of the unit in the block.
    ParameterSetData parameterSets{};

    // The units of the last frame split.
    uint32_t nalArrayCapacity = 0;
    unsigned char** nalPointers = nullptr;
    uint32_t* nalSizes = nullptr;

    // Removal: the messages of one SEI unit that stay, as RBSP bytes.
    unsigned char* removeBuffer = nullptr;
    uint32_t removeBufferSize = 1024;
    uint32_t removeLength = 0;

    // The same with emulation prevention.
    unsigned char* removeSeiBuffer = nullptr;
    uint32_t removeSeiBufferSize = 1024;
    uint32_t removeSeiLength = 0;

    // What removal hands out.
    unsigned char* removeOutput = nullptr;
    uint32_t removeOutputSize = 100000;
    uint32_t removeOutputLength = 0;

    // The scanner's stream, and the bytes from its cursor to the end.
    const unsigned char* scanData = nullptr;
    uint32_t scanRemaining = 0;

    // What the queue is made of.
    uint32_t queueCount = 6;
    uint32_t queueBufferSize = 100000;

    // The scanner's cursor: the start code of the unit to deliver next, null when idle; and the one that ends
    // it.
    const unsigned char* nalStart = nullptr;
    const unsigned char* nextNalStart = nullptr;

    // The unit being read.
    OpenedUnit openUnit;

    // Its RBSP. Null and 0 when memory for it ran out; the next conversion allocates again.
    unsigned char* rbspBuffer = nullptr;
    uint32_t rbspBufferSize = 1024;

    // The bit reader: the byte with the next unread bit, the bytes from there on, the bits consumed of it.
    const unsigned char* readPtr = nullptr;
    uint32_t readBytesLeft = 0;
    uint32_t readBitPos = 0;
    bool readPastEnd = false;  // something was read that was not there, or an Exp-Golomb code was given up

    // The sizes of the blocks of `parameterSets`.
    uint32_t vpsBlockSize = 1024;
    uint32_t spsBlockSize = 1024;
    uint32_t ppsBlockSize = 1024;

private:
    struct OwnedBlock
    {
        unsigned char* CParserBase::*data;
        uint32_t CParserBase::*size;
    };

    static const OwnedBlock userDataBlocks[6];

    Result CreateParameterSetBlocks();

    HandleFamily family = HandleFamily::Parse;
};

}  // namespace videoparams
