/* Loads a DLL by its name, as the Python package does, and makes a handle. */
#include <VideoParams.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

int main(int argc, char** argv)
{
    const HMODULE library = argc == 2 ? LoadLibraryA(argv[1]) : NULL;
    const FARPROC address = library != NULL ? GetProcAddress(library, "ParseCreate") : NULL;
    int64_t (*create)(void**, VideoCodecType, unsigned int, unsigned int) = NULL;
    void* parser = NULL;
    if (address == NULL) {
        fprintf(stderr, "error %lu\n", GetLastError());
        return 1;
    }
    memcpy(&create, &address, sizeof create);
    return create(&parser, VideoCodecHEVC, 0, 0) == 0 && parser != NULL ? 0 : 1;
}
