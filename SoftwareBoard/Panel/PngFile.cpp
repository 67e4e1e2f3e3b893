#include "PngFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <png.h>
#include <zlib.h>

#include "BoardError.h"
#include "Signals.h"

namespace SoftwareBoard::Panel
{
namespace
{
// What libpng says when it fails.
struct SFailure
{
    std::string strWhy;
};

[[noreturn]] void TakeFailure(png_structp poPng, png_const_charp pszWhy)
{
    static_cast<SFailure*>(png_get_error_ptr(poPng))->strWhy = pszWhy;
    png_longjmp(poPng, 1);
}

// libpng reports an error by a jump back to the start of this function: nothing that has a destructor may live in it.
bool WriteRows(png_structp poPng, png_infop poInfo, const SPicture& roPicture, std::FILE* poFile, EPacking ePacking)
{
    if (setjmp(png_jmpbuf(poPng)) != 0)
        return false;
    png_init_io(poPng, poFile);
    png_set_IHDR(poPng, poInfo, roPicture.uiWidth, roPicture.uiHeight, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (ePacking != EPacking::SMALL)
    {
        // What a pixel differs from the one above has few values, and where nothing changes it is a run of zeros. In one
        // picture, finding more than runs takes longer than all the rest.
        png_set_filter(poPng, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
        png_set_compression_level(poPng, 1);
        png_set_compression_strategy(poPng, ePacking == EPacking::FAST ? Z_RLE : Z_DEFAULT_STRATEGY);
    }
    png_write_info(poPng, poInfo);
    png_set_filler(poPng, 0, PNG_FILLER_AFTER);  // leaves the alpha out
    for (size_t uiRow = 0; uiRow < roPicture.uiHeight; ++uiRow)
        png_write_row(poPng, roPicture.auiRgba.data() + uiRow * roPicture.GetPitchInBytes());
    png_write_end(poPng, poInfo);
    return true;
}

void WritePng(const SPicture& roPicture, std::FILE* poFile, const std::string& strPath, EPacking ePacking)
{
    SFailure    oFailure;
    png_structp poPng  = png_create_write_struct(PNG_LIBPNG_VER_STRING, &oFailure, TakeFailure, nullptr);
    png_infop   poInfo = poPng != nullptr ? png_create_info_struct(poPng) : nullptr;
    errno              = 0;
    const bool bDone   = poInfo != nullptr && WriteRows(poPng, poInfo, roPicture, poFile, ePacking);
    const int  iError  = bDone && std::fflush(poFile) == 0 ? 0 : errno;
    png_destroy_write_struct(&poPng, &poInfo);
    if (iError != 0)
        ThrowSystemError(strPath, "write", iError);
    if (!bDone)
        throw BoardError(strPath + ": cannot be written: " + oFailure.strWhy);
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
void ReplaceFile(const SPicture& roPicture, const std::string& strPath, mode_t uiMode, EPacking ePacking)
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
        WritePng(roPicture, poFile.get(), strPath, ePacking);
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

void WritePngFile(const SPicture& roPicture, const std::string& strGiven, EPacking ePacking)
{
    // A symbolic link stays, and the file that it leads to is replaced. That file need not exist yet.
    std::filesystem::path oPath(strGiven);
    for (int iLink = 0; iLink < 40 && std::filesystem::is_symlink(oPath); ++iLink)
        oPath = oPath.parent_path() / std::filesystem::read_symlink(oPath);
    const std::string strPath = oPath.string();

    struct stat oStat = {};
    if (strPath == "-")
        WritePng(roPicture, stdout, "standard output", ePacking);
    else if (lstat(strPath.c_str(), &oStat) != 0)
        ReplaceFile(roPicture, strPath, ModeOfNewFile(), ePacking);
    else if (S_ISREG(oStat.st_mode))
        ReplaceFile(roPicture, strPath, oStat.st_mode & 0777, ePacking);
    else
        WritePng(roPicture, Checked(std::fopen(strPath.c_str(), "wbe"), strPath).get(), strPath, ePacking);
}
}
