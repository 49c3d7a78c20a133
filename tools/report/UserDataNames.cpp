#include "report/UserDataNames.h"

#include "report/Characters.h"

#include "videoparams/timestamp.h"

#include <ctime>
#include <fmt/format.h>

namespace tool {

namespace {

struct Writer
{
    const char* identifier;
    const char* name;
};

constexpr Writer Writers[] = {
    {"99aed31b-b894-4b97-ad39-fb4ed5902ba1", "videoparams"},
    {"dc45e9bd-e6d9-48b7-962c-d820d923eeef", "x264"},
    {"2ca2de09-b517-47db-bb55-a4fe7fc2fc4e", "x265"},
    {"32fe466c-9841-4269-ae35-6a91549ef3f1", "Kvazaar"},
    {"4d495350-6d69-6372-6f73-656374696d65", "MISP timestamp"},
};

constexpr int64_t NanosecondsPerSecond = 1000000000;

// Rounds down, so that the nanoseconds are positive before 1970, too.
std::string UtcText(int64_t nanoseconds)
{
    int64_t rest = nanoseconds % NanosecondsPerSecond;
    time_t seconds = nanoseconds / NanosecondsPerSecond;
    if (rest < 0) {
        rest += NanosecondsPerSecond;
        --seconds;
    }
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char date[40];
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &parts);
    return fmt::format("{}.{:09} UTC", date, rest);
}

std::string SecondsText(const char* clock, int64_t nanoseconds)
{
    const uint64_t size =
        nanoseconds < 0 ? 0 - static_cast<uint64_t>(nanoseconds) : static_cast<uint64_t>(nanoseconds);
    return fmt::format("{} {}{}.{:09} s", clock, nanoseconds < 0 ? "-" : "", size / NanosecondsPerSecond,
                       size % NanosecondsPerSecond);
}

const char* ClockName(unsigned int clock)
{
    switch (clock) {
    case VideoParamsClockMonotonic:
        return "monotonic clock";
    case VideoParamsClockPts:
        return "presentation time";
    case VideoParamsClockRunningTime:
        return "running time";
    case VideoParamsClockReference:
        return "reference clock";
    default:
        return "unknown clock";
    }
}

// One character as it may be shown: empty if it is not text. Characters that control a terminal or the
// direction of text are escaped.
std::string Escape(std::string_view character)
{
    if (character == "\"" || character == "\\")
        return fmt::format("\\{}", character);
    if (character == "\n")
        return "\\n";
    if (character == "\r")
        return "\\r";
    if (character == "\t")
        return "\\t";
    const unsigned char first = static_cast<unsigned char>(character[0]);
    if (first < 0x20 || first == 0x7F)
        return "";
    if (character >= "\xC2\x80" && character <= "\xC2\x9F")
        return fmt::format("\\u{:04X}", static_cast<unsigned char>(character[1]));
    if (character >= "\xE2\x80\xAA" && character <= "\xE2\x80\xAE")
        return fmt::format("\\u{:04X}", 0x202A + static_cast<unsigned char>(character[2]) - 0xAA);
    if (character >= "\xE2\x81\xA6" && character <= "\xE2\x81\xA9")
        return fmt::format("\\u{:04X}", 0x2066 + static_cast<unsigned char>(character[2]) - 0xA6);
    return std::string(character);
}

}  // namespace

std::string IdentifierText(const std::vector<unsigned char>& identifier)
{
    std::string text;
    for (size_t i = 0; i < identifier.size(); ++i)
        text += fmt::format("{}{:02x}", i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "", identifier[i]);
    return text;
}

std::string WriterName(const std::vector<unsigned char>& identifier)
{
    const std::string text = IdentifierText(identifier);
    for (const Writer& writer : Writers) {
        if (text == writer.identifier)
            return writer.name;
    }
    return "";
}

std::optional<std::string> TimestampText(const std::string& bytes)
{
    unsigned int clock = 0;
    int64_t nanoseconds = 0;
    if (!VideoParamsReadTimestamp(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), &clock,
                                  &nanoseconds))
        return std::nullopt;
    return clock == VideoParamsClockUtc ? UtcText(nanoseconds) : SecondsText(ClockName(clock), nanoseconds);
}

std::string_view WithoutTerminator(const std::string& bytes)
{
    const std::string_view text = bytes;
    return text.substr(0, text.size() - (text.size() > 1 && text.back() == 0));
}

std::optional<std::string> EscapedText(const std::string& bytes, size_t most)
{
    std::string text;
    std::string_view rest = WithoutTerminator(bytes);
    size_t count = 0;
    for (; !rest.empty() && count < most; ++count) {
        const size_t length = SequenceLength(rest);
        const std::string shown = length == 0 ? "" : Escape(rest.substr(0, length));
        if (shown.empty())
            return std::nullopt;
        text += shown;
        rest.remove_prefix(length);
    }
    return fmt::format("\"{}\"{}", text, rest.empty() ? "" : " ...");
}

}  // namespace tool
