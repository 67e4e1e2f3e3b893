#include "PngFile.h"

#include <png.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "BoardError.h"

using namespace SoftwareBoard;

namespace Panel
{
namespace
{
std::vector<KUINT8> WithoutAlpha(const SPicture& roPicture)
{
    std::vector<KUINT8> auiRgb(roPicture.auiRgba.size() / 4 * 3);
    for (size_t uiPixel = 0; uiPixel < auiRgb.size() / 3; ++uiPixel)
        std::copy_n(roPicture.auiRgba.data() + uiPixel * 4, 3, auiRgb.data() + uiPixel * 3);
    return auiRgb;
}

void WritePng(const SPicture& roPicture, std::FILE* poFile, const std::string& strPath)
{
    png_image oImage = {};
    oImage.version   = PNG_IMAGE_VERSION;
    oImage.width     = roPicture.uiWidth;
    oImage.height    = roPicture.uiHeight;
    oImage.format    = PNG_FORMAT_RGB;
    if (png_image_write_to_stdio(&oImage, poFile, 0, WithoutAlpha(roPicture).data(), 0, nullptr) == 0)
        throw BoardError(strPath + ": cannot be written: " + oImage.message);
}
}

// Written beside its place and moved there. Devices and links, such as /dev/stdout, stay what they are: written into.
void WritePngFile(const SPicture& roPicture, const std::string& strPath)
{
    struct stat       oStat    = {};
    const bool        bInPlace = lstat(strPath.c_str(), &oStat) == 0 && !S_ISREG(oStat.st_mode);
    const std::string strNew   = bInPlace ? strPath : strPath + "." + std::to_string(getpid()) + ".new";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> poFile(std::fopen(strNew.c_str(), bInPlace ? "wbe" : "wbxe"),
                                                                 std::fclose);
    if (poFile == nullptr)
        ThrowSystemError(strNew, "open");
    try
    {
        WritePng(roPicture, poFile.get(), strNew);
        if (std::fflush(poFile.get()) != 0)
            ThrowSystemError(strNew, "write");
        if (!bInPlace && std::rename(strNew.c_str(), strPath.c_str()) != 0)
            ThrowSystemError(strPath, "rename");
    }
    catch (...)
    {
        if (!bInPlace)
            unlink(strNew.c_str());
        throw;
    }
}
}
