#include "report/Characters.h"

#include <algorithm>

namespace tool {

namespace {

constexpr const char* Replacement = "\xEF\xBF\xBD";
constexpr const char* Ellipsis = "\xE2\x80\xA6";

// From U+1100 on; the few narrow ones among them only make a title shorter than it must be.
size_t ColumnsOf(const std::string& character)
{
    return character >= "\xE1\x84\x80" && character != Replacement ? 2 : 1;
}

}  // namespace

// Unicode 3.9, Table 3-7
size_t SequenceLength(std::string_view text)
{
    const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byte(0);
    if (first < 0x80)
        return 1;
    const size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    const unsigned least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (length == 0 || byte(1) < least || byte(1) > most)
        return 0;
    for (size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

std::vector<std::string> CharactersOf(std::string_view text)
{
    std::vector<std::string> characters;
    while (!text.empty()) {
        const size_t length = SequenceLength(text);
        const bool isControl = length == 1 && (text[0] < 0x20 || text[0] == 0x7F);
        characters.push_back(length == 0 ? Replacement
                             : isControl ? "?"
                                         : std::string(text.substr(0, length)));
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return characters;
}

std::string Shorten(std::string_view text, size_t columns)
{
    std::vector<std::string> head = CharactersOf(text);
    std::vector<std::string> tail;
    size_t used = 0;
    for (const std::string& character : head)
        used += ColumnsOf(character);
    if (used > columns) {
        const auto middle = head.begin() + static_cast<std::ptrdiff_t>(head.size() / 2);
        tail.assign(middle, head.end());
        head.erase(middle, head.end());
        while (used > columns - 1) {
            const bool cutsHead = head.size() >= tail.size();
            used -= ColumnsOf(cutsHead ? head.back() : tail.front());
            if (cutsHead)
                head.pop_back();
            else
                tail.erase(tail.begin());
        }
        head.push_back(Ellipsis);
    }
    std::string result;
    for (const auto* part : {&head, &tail}) {
        for (const std::string& character : *part)
            result += character;
    }
    return result;
}

}  // namespace tool
