#include "PreviewPictures.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include <png.h>

#include "PngParts.h"
#include "Printable.h"
#include "QelTypes.h"

namespace SoftwareBoard::Viewer
{
namespace
{
struct SArguments
{
    KINT64      iWidth = 1024, iHeight = 768;  // of the output
    bool        bAnimation = false, bBar = false;
    KINT64      iLeft = {}, iTop = {}, iRight = {}, iBottom = {};  // of the animation, if there is one
    KINT64      iBarTop = {}, iBarBottom = {};                     // of the bar, likewise
    const char* pszImage = nullptr;
    const char* pszBase  = nullptr;
};

using Values = std::span<char* const>;

// Of the digits as many bits as the tool takes.
KINT64 NumberOf(const char* psz)
{
    return static_cast<KINT32>(std::strtol(psz, nullptr, 10));
}

// The options of the tool. Those without an action do not matter to the pictures.
struct SOption
{
    std::string_view svShort, svLong;
    size_t           uiValues;
    void (*pfnTake)(SArguments& ro, Values oValues);
};

// clang-format off
constexpr SOption OPTIONS[] = {
    {"-h",  "--Help",               0, nullptr},
    {"-d",  "--DevIdx",             1, nullptr},
    {"-v",  "--VideoParam",        19, [](SArguments& ro, Values o) { ro.iWidth = NumberOf(o[0]); ro.iHeight = NumberOf(o[1]); }},
    {"-i",  "--Image",              1, [](SArguments& ro, Values o) { ro.pszImage = o[0]; }},
    {"-p",  "--ProgressRect",       4, [](SArguments& ro, Values o) {
        ro.bBar = true;
        ro.iBarTop = NumberOf(o[1]); ro.iBarBottom = NumberOf(o[3]); }},
    {"-a",  "--AnimRect",           4, [](SArguments& ro, Values o) {
        ro.bAnimation = true;
        ro.iLeft = NumberOf(o[0]); ro.iTop = NumberOf(o[1]); ro.iRight = NumberOf(o[2]); ro.iBottom = NumberOf(o[3]); }},
    {"-f",  "--AnimBaseFileName",   1, [](SArguments& ro, Values o) { ro.pszBase = o[0]; }},
    {"-l",  "--AnimStepLoopTimeMs", 1, nullptr},
    {"-et", "--EnableTime",         1, nullptr},
};
// clang-format on

// Reads the tool's arguments. Returns nothing if the tool would refuse them.
std::optional<SArguments> Read(Values oWords)
{
    SArguments oArguments;
    while (!oWords.empty())
    {
        const SOption* const poOption = std::find_if(std::begin(OPTIONS), std::end(OPTIONS), [&](const SOption& ro) {
            return ro.svShort == oWords[0] || ro.svLong == oWords[0];
        });
        if (poOption == std::end(OPTIONS) || oWords.size() <= poOption->uiValues || poOption->uiValues == 0)
            return std::nullopt;
        if (poOption->pfnTake != nullptr)
            poOption->pfnTake(oArguments, oWords.subspan(1, poOption->uiValues));
        oWords = oWords.subspan(1 + poOption->uiValues);
    }
    return oArguments;
}

void Warn(const std::string& strWhat)
{
    std::fprintf(stderr, "tavrin-board: preview: %s\n", MakePrintable(strWhat).c_str());
}

std::string SizeOf(KINT64 iWidth, KINT64 iHeight)
{
    return std::to_string(iWidth) + "x" + std::to_string(iHeight);
}

struct SPlace
{
    const char* pszName;
    KINT64      iWidth, iHeight;
    const char* pszInstead;  // what the tool shows if it cannot show the picture
};

std::string FaultOfSize(const png_image& roImage, const SPlace& roPlace)
{
    const bool bOver  = roImage.width > roPlace.iWidth || roImage.height > roPlace.iHeight;
    const bool bUnder = roImage.width < roPlace.iWidth || roImage.height < roPlace.iHeight;
    if (!bOver && !bUnder)
        return "";
    return SizeOf(roImage.width, roImage.height) + ", where " + roPlace.pszName + " has " +
           SizeOf(roPlace.iWidth, roPlace.iHeight) + (bOver ? ": it is cut, not scaled" : ": it is not scaled") +
           (bUnder ? ", and covers only a part" : "");
}

std::string FaultOfContents(std::FILE* poFile, const SPlace& roPlace)
{
    constexpr size_t uiMaxBytes = size_t{256} << 20;  // the most that the tool decodes
    png_image        oImage     = {};
    oImage.version              = PNG_IMAGE_VERSION;
    const bool        bBegun    = png_image_begin_read_from_stdio(&oImage, poFile) != 0;
    const bool        bLarge    = bBegun && size_t{oImage.width} * 4 > uiMaxBytes / oImage.height;
    const std::string strSize   = bBegun ? FaultOfSize(oImage, roPlace) : "";
    const std::string strBegun  = oImage.message;
    png_image_free(&oImage);
    const char* const pszWhy = !bBegun ? strBegun.c_str() : bLarge ? "too large" : FaultOfParts(poFile);
    return pszWhy != nullptr ? std::string("no PNG that can be read (") + pszWhy + "): " + roPlace.pszInstead : strSize;
}

// Returns what is wrong with the file, or an empty text. Does not open a pipe or device: it can be read only once, by the
// tool.
std::string FaultOf(const std::string& strPath, const SPlace& roPlace)
{
    struct stat oStat = {};
    if (stat(strPath.c_str(), &oStat) == 0 && !S_ISREG(oStat.st_mode) && !S_ISDIR(oStat.st_mode))
        return "";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> poFile(std::fopen(strPath.c_str(), "rbe"), std::fclose);
    if (poFile == nullptr)
        return std::generic_category().message(errno) + ": " + roPlace.pszInstead;
    return FaultOfContents(poFile.get(), roPlace);
}

// Checks the frames up to the first number without a file, as the tool plays them. Of consecutive frames with the same
// fault, only the first is reported.
void CheckFrames(const char* pszBase, const SPlace& roPlace)
{
    std::string strBefore;
    bool        bThere = true;
    for (KUINT32 uiFrame = 1; bThere; ++uiFrame)
    {
        char         szName[512];  // as the tool forms it; a name whose number is cut off would fit every frame
        const int    iLength = std::snprintf(szName, sizeof(szName), "%s%02u.png", pszBase, uiFrame);
        const size_t uiToEnd = static_cast<size_t>(iLength) - sizeof(".png") + 1;
        bThere               = uiToEnd < sizeof(szName) && access(szName, R_OK) == 0;
        if (!bThere && uiFrame > 1)
            break;
        const std::string strFault = FaultOf(szName, roPlace);
        if (!strFault.empty() && strFault != strBefore)
            Warn(szName + (": " + strFault));
        strBefore = strFault;
    }
}
}

std::optional<Rows> FindRowsDrawnOn(const std::vector<char*>& roArguments)
{
    const auto ooArguments = Read(Values(roArguments).first(roArguments.size() - 1));
    if (!ooArguments)
        return std::nullopt;
    Rows       aoRows;
    const auto fAdd = [&](KINT64 iTop, KINT64 iEnd) {
        const auto fInside = [&](KINT64 i) {
            return static_cast<KUINT32>(std::max<KINT64>(std::min(i, ooArguments->iHeight), 0));
        };
        if (fInside(iTop) < fInside(iEnd))
            aoRows.emplace_back(fInside(iTop), fInside(iEnd));
    };
    if (ooArguments->bAnimation)
        fAdd(ooArguments->iTop, ooArguments->iBottom);
    if (ooArguments->bBar)
        fAdd(ooArguments->iBarTop, ooArguments->iBarBottom + 1);
    return aoRows;
}

void WarnOfPictures(const std::vector<char*>& roArguments)
{
    const auto ooArguments = Read(Values(roArguments).first(roArguments.size() - 1));
    if (!ooArguments)
        return;
    const SPlace oOutput = {"the output", ooArguments->iWidth, ooArguments->iHeight, "the background stays black"};
    const SPlace oFrame  = {"the animation", ooArguments->iRight - ooArguments->iLeft,
                            ooArguments->iBottom - ooArguments->iTop, "a block moves instead of the frames"};
    if (ooArguments->pszImage != nullptr)
    {
        if (const std::string strFault = FaultOf(ooArguments->pszImage, oOutput); !strFault.empty())
            Warn(ooArguments->pszImage + (": " + strFault));
    }
    if (ooArguments->bAnimation && ooArguments->pszBase != nullptr)
        CheckFrames(ooArguments->pszBase, oFrame);
}
}
