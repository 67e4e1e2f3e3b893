#include "PngParts.h"

#include <algorithm>
#include <cstring>

#include <zlib.h>

#include "QelTypes.h"

namespace SoftwareBoard::Viewer
{
namespace
{
KUINT32 BigEndian(const KUINT8* pui)
{
    return KUINT32{pui[0]} << 24 | KUINT32{pui[1]} << 16 | KUINT32{pui[2]} << 8 | pui[3];
}
}

const char* FaultOfParts(std::FILE* poFile)
{
    constexpr long   iSignature = 8;
    constexpr KUINT8 LOWER_CASE = 0x20;  // of the name of a part that changes no pixel
    KUINT8           auiHead[8], auiSum[4], auiBlock[65536];
    std::fseek(poFile, iSignature, SEEK_SET);
    while (std::fread(auiHead, sizeof(auiHead), 1, poFile) == 1)
    {
        uLong uiSum = crc32(0, auiHead + 4, 4);
        for (size_t uiLeft = BigEndian(auiHead); uiLeft > 0;)
        {
            const size_t uiRead = std::fread(auiBlock, 1, std::min(uiLeft, sizeof(auiBlock)), poFile);
            if (uiRead == 0)
                return "it is cut short";
            uiSum = crc32(uiSum, auiBlock, static_cast<uInt>(uiRead));
            uiLeft -= uiRead;
        }
        if (std::fread(auiSum, sizeof(auiSum), 1, poFile) != 1)
            return "it is cut short";
        if ((auiHead[4] & LOWER_CASE) == 0 && uiSum != BigEndian(auiSum))
            return "a checksum is wrong";
        if (std::memcmp(auiHead + 4, "IEND", 4) == 0)
            return nullptr;
    }
    return "it is cut short";
}
}
