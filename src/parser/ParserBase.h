#pragma once

#include "VideoParams.h"
#include "analysis/AccessUnitAssembly.h"
#include "analysis/VideoQueue.h"
#include "bitstream/NalScanner.h"
#include "memory/HeapBlock.h"
#include "memory/Result.h"
#include "userdata/UserDataEditor.h"

#include <cstdint>
#include <variant>

namespace videoparams {

// The stream analysis of a parse handle.
struct StreamAnalysis
{
    StreamAnalysis(CNalScanner& scanner, CAccessUnitHooks& hooks) noexcept
        : accessUnits(scanner, queue, hooks)
    {}

    CVideoQueue queue;
    CAccessUnitAssembly accessUnits;
};

// The create function that made a handle.
enum class HandleFamily
{
    Parse,
    UserData,
};

// The object of a handle: the fifteen operations. Both families scan streams; what else a handle has
// depends on its family. Only the operations of its own family are called.
class CParserBase : public HeapObject
{
public:
    CParserBase(const CParserBase&) = delete;
    CParserBase& operator=(const CParserBase&) = delete;
    virtual ~CParserBase() = default;

    HandleFamily Family() const;

    // Makes the blocks of a new handle.
    [[nodiscard]] Result Create(uint32_t queueCount, uint32_t queueSize);
    [[nodiscard]] Result UserDataCreate();

    // The operations of a user-data handle.
    Result AddUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char* data,
                       uint32_t dataLength, const unsigned char** output, uint32_t* outputLength);
    Result GetUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                       uint32_t* outputLength);
    Result RemoveUserData(const unsigned char* stream, uint32_t streamLength, const unsigned char** output,
                          uint32_t* outputLength);

    // The operations of a parse handle. The virtual ones are defined for a codec that does not have them.
    Result ReadVideoParams(const unsigned char* data, uint32_t size, VideoInfo* info);
    virtual Result VideoSampleTest(const unsigned char* data, uint32_t size, VideoInfoEx* test);
    virtual Result QuerySliceType(const unsigned char* data, uint32_t size, VideoPicType& type);
    virtual Result SetVideoData(unsigned char* data, uint32_t size);
    virtual Result GetNalUnit(unsigned char** unit, uint32_t* unitSize, bool* isSlice,
                              uint32_t* sliceHeaderLength);
    virtual Result GetNalFromFrame(unsigned char* frame, uint32_t size, uint32_t* count,
                                   unsigned char*** units, uint32_t** sizes);
    virtual Result SetParameterSetData(unsigned char* sps, uint32_t spsSize, unsigned char* pps,
                                       uint32_t ppsSize);
    virtual Result GetParameterSetData(unsigned char* data, uint32_t size, ParameterSetData* sets);

protected:
    CParserBase(const NalRules& rules, CAccessUnitHooks& hooks, HandleFamily family);

    CNalScanner scanner;

private:
    // What the handle's family works with.
    using Work = std::variant<StreamAnalysis, CUserDataEditor>;

    StreamAnalysis& Analysis() { return *std::get_if<StreamAnalysis>(&work); }
    CUserDataEditor& Editor() { return *std::get_if<CUserDataEditor>(&work); }

    Work work;
};

}  // namespace videoparams
