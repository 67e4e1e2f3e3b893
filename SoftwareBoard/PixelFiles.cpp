#include "PixelFiles.h"

#include <dirent.h>

#include <charconv>
#include <memory>
#include <optional>
#include <set>
#include <string_view>

#include "BoardError.h"

namespace SoftwareBoard
{
namespace
{
constexpr std::string_view svPrefix = "board.pixels-";

std::string NameOf(KUINT32 uiNumber)
{
    return std::string(svPrefix) + std::to_string(uiNumber);
}

std::optional<KUINT32> NumberOf(const std::string& strName)
{
    KUINT32 uiNumber = 0;
    if (strName.starts_with(svPrefix))
        std::from_chars(strName.data() + svPrefix.size(), strName.data() + strName.size(), uiNumber);
    return strName == NameOf(uiNumber) ? std::optional(uiNumber) : std::nullopt;
}

std::set<KUINT32> FindShown(const BoardState& roState)
{
    std::set<KUINT32> oShown;
    const KUINT32     uiDeviceCount = roState.GetDeviceCount();
    for (KUINT32 uiDevice = 0; uiDevice < uiDeviceCount; ++uiDevice)
    {
        const KUINT32 uiOutputCount = roState.ReadDevice(uiDevice).uiOutputCount;
        for (KUINT32 uiOutput = 0; uiOutput < uiOutputCount; ++uiOutput)
        {
            if (const SOutputRecord oOutput = roState.ReadOutput(uiDevice, uiOutput); oOutput.bEnabled == TRUE)
                oShown.insert(oOutput.uiPixelFile);
        }
    }
    return oShown;
}

// Through an open file of its own the caller meets the maker's lock even when it is the maker itself.
bool IsKept(const FileDescriptor& roFile)
{
    return !LockByte(roFile.Get(), 0, F_WRLCK, false);
}
}

SPixelFile MakePixelFile(const Board& roBoard, KUINT32 uiSizeInBytes)
{
    // A number that an output still shows is not given out again, also when somebody took its file away.
    const std::set<KUINT32> oShown = FindShown(roBoard.m_oState);
    SPixelFile              oPixels;
    while (oShown.contains(oPixels.uiNumber) ||
           !(oPixels.oFile = roBoard.m_oFolder.OpenFile(NameOf(oPixels.uiNumber), O_RDWR | O_CREAT | O_EXCL)))
        ++oPixels.uiNumber;

    LockByte(oPixels.oFile.Get(), 0, F_WRLCK, false);
    int iError = BoardFolder::IsFileSizeAllowed(uiSizeInBytes) ? EINTR : EFBIG;
    while (iError == EINTR)
        iError = posix_fallocate(oPixels.oFile.Get(), 0, off_t{uiSizeInBytes});
    if (iError != 0)
    {
        roBoard.m_oFolder.Remove(NameOf(oPixels.uiNumber));
        ThrowSystemError(roBoard.m_oFolder.PathOf(NameOf(oPixels.uiNumber)), "posix_fallocate", iError);
    }
    return oPixels;
}

FileDescriptor OpenPixelFile(const Board& roBoard, KUINT32 uiNumber)
{
    FileDescriptor oFile = roBoard.m_oFolder.OpenFile(NameOf(uiNumber), O_RDONLY);
    if (!oFile)
        ThrowSystemError(roBoard.m_oFolder.PathOf(NameOf(uiNumber)), "open", ENOENT);
    return oFile;
}

void SweepPixelFiles(const Board& roBoard)
{
    const std::set<KUINT32> oShown  = FindShown(roBoard.m_oState);
    const std::string&      strPath = roBoard.m_oFolder.GetPath();

    const int iFd = openat(roBoard.m_oFolder.GetDescriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> poDir(iFd < 0 ? nullptr : fdopendir(iFd), closedir);
    if (poDir == nullptr)
        ThrowSystemError(strPath, "opendir");

    while (const dirent* poEntry = readdir(poDir.get()))
    {
        const std::string strName   = poEntry->d_name;
        const auto        ouiNumber = NumberOf(strName);
        if (!ouiNumber || oShown.contains(*ouiNumber))
            continue;
        try
        {
            if (const FileDescriptor oFile = roBoard.m_oFolder.OpenFile(strName, O_RDWR); oFile && !IsKept(oFile))
                roBoard.m_oFolder.Remove(strName);
        }
        catch (const BoardError&)
        {
            // Not a file of the board's, whatever its name: it stays.
        }
    }
}
}
