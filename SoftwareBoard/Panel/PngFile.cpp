#include "PngFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <png.h>

#include "BoardError.h"
#include "Signals.h"

namespace SoftwareBoard::Panel
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
    errno            = 0;
    const bool bDone = png_image_write_to_stdio(&oImage, poFile, 0, WithoutAlpha(roPicture).data(), 0, nullptr) != 0;
    if ((!bDone && errno != 0) || (bDone && std::fflush(poFile) != 0))
        ThrowSystemError(strPath, "write");
    if (!bDone)
        throw BoardError(strPath + ": cannot be written: " + oImage.message);
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File Checked(std::FILE* poFile, const std::string& strPath)
{
    if (poFile == nullptr)
        ThrowSystemError(strPath, "open");
    return {poFile, std::fclose};
}

mode_t ModeOfNewFile()
{
    const mode_t uiMask = umask(0);
    umask(uiMask);
    return 0666 & ~uiMask;
}

// Writes a new file beside the old one and renames it. The name of the new file is short, even if the other is long.
void ReplaceFile(const SPicture& roPicture, const std::string& strPath, mode_t uiMode)
{
    const size_t  uiFolder = strPath.rfind('/') + 1;  // 0 if there is no folder
    std::string   strNew   = strPath.substr(0, uiFolder) + ".tavrin-XXXXXX";
    const Signals oSignals;  // signals wait until no unfinished file is left
    const int     iFd = mkostemp(strNew.data(), O_CLOEXEC);
    if (iFd < 0)
        ThrowSystemError(strPath, "create");
    try
    {
        const File poFile = Checked(fdopen(iFd, "wb"), strPath);
        WritePng(roPicture, poFile.get(), strPath);
        if (fchmod(iFd, uiMode) != 0)
            ThrowSystemError(strPath, "chmod");
        if (std::rename(strNew.c_str(), strPath.c_str()) != 0)
            ThrowSystemError(strPath, "rename");
    }
    catch (...)
    {
        unlink(strNew.c_str());
        throw;
    }
}
}

void WritePngFile(const SPicture& roPicture, const std::string& strGiven)
{
    // A symbolic link stays, and the file that it leads to is replaced. That file need not exist yet.
    std::filesystem::path oPath(strGiven);
    for (int iLink = 0; iLink < 40 && std::filesystem::is_symlink(oPath); ++iLink)
        oPath = oPath.parent_path() / std::filesystem::read_symlink(oPath);
    const std::string strPath = oPath.string();

    struct stat oStat = {};
    if (strPath == "-")
        WritePng(roPicture, stdout, "standard output");
    else if (lstat(strPath.c_str(), &oStat) != 0)
        ReplaceFile(roPicture, strPath, ModeOfNewFile());
    else if (S_ISREG(oStat.st_mode))
        ReplaceFile(roPicture, strPath, oStat.st_mode & 0777);
    else
        WritePng(roPicture, Checked(std::fopen(strPath.c_str(), "wbe"), strPath).get(), strPath);
}
}
