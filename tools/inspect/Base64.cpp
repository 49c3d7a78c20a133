#include "inspect/Base64.h"

#include <algorithm>
#include <cstdint>

namespace tool {

std::string Base64(std::span<const unsigned char> bytes)
{
    static constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const size_t count = std::min<size_t>(bytes.size() - at, 3);
        uint32_t bits = 0;
        for (size_t i = 0; i < 3; ++i)
            bits = bits << 8 | (i < count ? bytes[at + i] : 0U);
        for (size_t i = 0; i < 4; ++i)
            text += i <= count ? Digits[bits >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

}  // namespace tool
