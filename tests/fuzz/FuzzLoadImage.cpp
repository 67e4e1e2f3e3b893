// Pictures. Sums of chunks are made right, so that what is rotten gets past them: the target is the picture or untouched.
#include <vector>

#include "Fuzz.h"
#include "OsServices.h"
#include "PngAnimation.h"
#include "Tool/PngFile.h"

OsServices g_oOsServices(nullptr);

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    constexpr KUINT32   WIDTH = 6, HEIGHT = 5, PITCH = WIDTH * 4 + 12;
    std::vector<KUINT8> auiFile(puiData, puiData + uiSize), auiPlane(PITCH * HEIGHT, 0x5A);
    MendSums(auiFile);
    std::FILE* poFile = fmemopen(auiFile.data(), auiFile.size(), "rb");
    if (poFile == nullptr) return 0;  // an empty one

    const KBOOL32 bLoaded = LoadImage(poFile, WIDTH, PITCH, HEIGHT, auiPlane.data());
    std::fclose(poFile);
    for (size_t i = 0; i < auiPlane.size(); ++i) Must((bLoaded && i % PITCH < WIDTH * 4) || auiPlane[i] == 0x5A);
    return 0;
}
