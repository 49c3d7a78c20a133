#include <VideoParams.h>

int main()
{
    void* parser = nullptr;
    if (ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0)
        return 1;
    VideoPicType type;
    const unsigned char slice[] = {0, 0, 0, 1, 0x65, 0x88, 0x84};
    const int64_t result = QueryType(parser, slice, sizeof slice, type);
    return ParseRelease(parser) == 0 && result == 0 && type == VideoPicAllI ? 0 : 1;
}
