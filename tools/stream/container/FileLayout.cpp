#include "stream/container/FileLayout.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace tool {

namespace {

// More are not looked at.
constexpr int MostBoxes = 100000;

// Some bytes of a file; what is after its end is zero.
class CFilePart
{
public:
    CFilePart(CInputFile& file, uint64_t offset)
    {
        if (!file.Seek(offset))
            return;
        while (const size_t count = got < bytes.size() ? file.Read(&bytes[got], bytes.size() - got) : 0)
            got += count;
    }

    uint64_t Number(size_t begin, size_t count) const
    {
        uint64_t value = 0;
        for (size_t i = 0; i < count; ++i)
            value = value << 8 | bytes[begin + i];
        return value;
    }
    uint32_t LittleNumber(size_t begin) const
    {
        return __builtin_bswap32(static_cast<uint32_t>(Number(begin, 4)));
    }
    std::string_view Text(size_t begin, size_t count) const
    {
        return {reinterpret_cast<const char*>(&bytes[begin]), count};
    }
    size_t Got() const { return got; }

private:
    std::array<unsigned char, 128> bytes{};
    size_t got = 0;
};

// A number of EBML with its marker, RFC 8794 4. `length`: of the number. All ones: not known, then 0.
uint64_t EbmlSize(const CFilePart& part, size_t begin, size_t& length)
{
    const auto first = static_cast<uint32_t>(part.Number(begin, 1));
    length = first == 0 ? 1 : static_cast<size_t>(__builtin_clz(first)) - 23;
    const uint64_t mask = (1ull << (7 * length)) - 1;
    const uint64_t size = part.Number(begin, length) & mask;
    return size == mask ? 0 : size;
}

// The end of the segment.
uint64_t DeclaredByMatroska(CInputFile& file)
{
    constexpr uint64_t Segment = 0x18538067;
    size_t length = 0;
    const uint64_t offset = 4 + EbmlSize(CFilePart(file, 0), 4, length) + length;
    const CFilePart part(file, offset);
    const uint64_t size = part.Number(0, 4) == Segment ? EbmlSize(part, 4, length) : 0;
    return size == 0 ? 0 : offset + 4 + length + size;
}

// The end of the last RIFF chunk.
uint64_t DeclaredByAvi(CInputFile& file)
{
    uint64_t offset = 0;
    for (int i = 0; i < MostBoxes && offset < file.Size(); ++i) {
        const CFilePart part(file, offset);
        const uint32_t size = part.LittleNumber(4);
        if (part.Text(0, 4) != "RIFF" || size == 0 || size == UINT32_MAX)
            break;
        offset += 8 + uint64_t{size};
    }
    return offset;
}

// FooterPartition of the header partition, SMPTE ST 377-1 7.1.
uint64_t DeclaredByMxf(CInputFile& file)
{
    const CFilePart part(file, 0);
    constexpr std::string_view PartitionPack("\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02\x01\x01\x02", 14);
    if (part.Text(0, PartitionPack.size()) != PartitionPack)
        return 0;
    const size_t sizeLength = part.Number(16, 1) < 0x80 ? 1 : 1 + (part.Number(16, 1) & 15);
    const uint64_t footer = part.Number(16 + sizeLength + 24, 8);
    return footer == 0 ? 0 : footer + 1;
}

// A tag is followed by its size. The last size shows whether the file ends with a tag.
std::string DescribeCutFlv(CInputFile& file)
{
    constexpr uint64_t TagHeader = 11;
    const CFilePart head(file, 0);
    const uint64_t firstTag = head.Number(5, 4) + 4;
    const uint64_t firstSize = TagHeader + CFilePart(file, firstTag).Number(1, 3);
    const bool hasSizes = CFilePart(file, firstTag + firstSize).Number(0, 4) == firstSize;
    if (!hasSizes || file.Size() < firstTag + firstSize + 4)
        return "";
    const uint64_t end = file.Size() - 4;
    const uint64_t lastSize = CFilePart(file, end).Number(0, 4);
    const bool fits = lastSize >= TagHeader && lastSize <= end &&
                      CFilePart(file, end - lastSize).Number(1, 3) + TagHeader == lastSize;
    return fits ? "" : "it does not end with a whole tag";
}

std::string DescribeCutTs(CInputFile& file)
{
    constexpr uint64_t SyncByte = 0x47;
    for (const uint64_t packetSize : {188U, 204U, 192U}) {
        const uint64_t first = packetSize == 192 ? 4 : 0;
        bool fits = true;
        for (uint64_t i = 0; i < 5; ++i)
            fits = fits && CFilePart(file, first + i * packetSize).Number(0, 1) == SyncByte;
        if (fits && file.Size() % packetSize != 0)
            return fmt::format("its last packet has {} of {} bytes", file.Size() % packetSize, packetSize);
        if (fits)
            break;
    }
    return "";
}

}  // namespace

MovLayout ReadMovLayout(CInputFile& file)
{
    static constexpr std::string_view Known[] = {"moov", "moof", "mdat", "mfra", "sidx", "free"};
    MovLayout layout;
    bool hasData = false;
    uint64_t offset = 0;
    for (int i = 0; i < MostBoxes && offset < file.Size(); ++i) {
        const CFilePart head(file, offset);
        const uint64_t size = head.Number(0, 4) == 1 ? head.Number(8, 8) : head.Number(0, 4);
        const std::string_view type = head.Text(4, 4);
        layout.isFragmented = layout.isFragmented || type == "moof";
        layout.indexComesFirst = layout.indexComesFirst || (type == "moov" && !hasData);
        hasData = hasData || type == "mdat";
        if (size < 8)
            break;
        if (size > file.Size() - offset) {
            if (std::find(std::begin(Known), std::end(Known), type) != std::end(Known) &&
                !__builtin_add_overflow(offset, size, &offset))
                layout.declaredSize = offset;
            break;
        }
        offset += size;
    }
    return layout;
}

std::string DescribeCutEnd(CInputFile& file, std::string_view format)
{
    if (format == "flv")
        return DescribeCutFlv(file);
    if (format == "mpegts")
        return DescribeCutTs(file);
    const uint64_t declared = format.starts_with("mov")        ? ReadMovLayout(file).declaredSize
                              : format.starts_with("matroska") ? DeclaredByMatroska(file)
                              : format == "avi"                ? DeclaredByAvi(file)
                              : format == "mxf"                ? DeclaredByMxf(file)
                                                               : 0;
    if (declared <= file.Size())
        return "";
    return fmt::format("its headers declare {} bytes, and it has {}", declared, file.Size());
}

}  // namespace tool
