#include "PixelFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
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
constexpr std::string_view FILE_PREFIX = "board.pixels-";
// The name of a file while it is being made, so that no other process finds an incomplete pixel file.
constexpr char NEW_NAME[] = "board.pixels-new";

// A process that needs the file locks this byte: the maker exclusively, others shared.
constexpr off_t NEEDED_BYTE = 0;

// Follows the pixels.
using Mark              = std::array<char, 8>;
constexpr Mark OUR_MARK = {'T', 'A', 'V', 'R', 'I', 'N', 'P', 'X'};

std::string NameOf(KUINT32 uiNumber)
{
    return std::string(FILE_PREFIX) + std::to_string(uiNumber);
}

std::optional<KUINT32> NumberOf(const std::string& strName)
{
    KUINT32 uiNumber = 0;
    if (strName.starts_with(FILE_PREFIX))
        std::from_chars(strName.data() + FILE_PREFIX.size(), strName.data() + strName.size(), uiNumber);
    return strName == NameOf(uiNumber) ? std::optional(uiNumber) : std::nullopt;
}

// A file of the user may have the name of a pixel file. Only a file that ends with the mark is a board's.
bool IsMarked(const FileDescriptor& roFile)
{
    struct stat oStat  = {};
    Mark        acRead = {};
    return fstat(roFile.Get(), &oStat) == 0 && oStat.st_size >= off_t{sizeof(Mark)} &&
           pread(roFile.Get(), acRead.data(), sizeof(Mark), oStat.st_size - off_t{sizeof(Mark)}) == ssize_t{sizeof(Mark)} &&
           acRead == OUR_MARK;
}

void ThrowIfReplaced(const BoardFolder& roFolder, const BoardState& roState)
{
    if (roState.IsReplaced())
        throw BoardError(roFolder.GetPath() + ": another board is there now");
}
}

SPixelFile MakePixelFile(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState,
                         KUINT32 uiSizeInBytes)
{
    ThrowIfReplaced(roFolder, roState);
    if (const FileDescriptor oLeft = roFolder.OpenFile(NEW_NAME, O_RDONLY))
    {
        if (!BoardFolder::IsUnfinished(oLeft))
            throw BoardError(roFolder.PathOf(NEW_NAME) + ": not a file of the board's; it is left alone");
        roFolder.Remove(NEW_NAME);  // a killed process left it
    }
    SPixelFile oPixels{0, roFolder.OpenFile(NEW_NAME, O_RDWR | O_CREAT | O_EXCL)};
    try
    {
        if (const int iError = BoardFolder::Allocate(oPixels.oFile, off_t{uiSizeInBytes} + off_t{sizeof(Mark)}))
            ThrowSystemError(roFolder.PathOf(NEW_NAME), "posix_fallocate", iError);
        if (pwrite(oPixels.oFile.Get(), OUR_MARK.data(), sizeof(Mark), off_t{uiSizeInBytes}) != ssize_t{sizeof(Mark)})
            ThrowSystemError(roFolder.PathOf(NEW_NAME), "pwrite");
        TryLockByte(oPixels.oFile.Get(), NEEDED_BYTE, F_WRLCK);

        // A number that an output still shows is not used again, even if its file was removed.
        const std::set<KUINT32> oShown = roState.ReadShownPixelFiles(roTransaction);
        while (oShown.contains(oPixels.uiNumber) || roFolder.Exists(NameOf(oPixels.uiNumber)))
            ++oPixels.uiNumber;
        roFolder.Rename(NEW_NAME, NameOf(oPixels.uiNumber));
    }
    catch (...)
    {
        roFolder.Remove(NEW_NAME);
        throw;
    }
    return oPixels;
}

void KeepPixelFile(const FileDescriptor& roPixels)
{
    TryLockByte(roPixels.Get(), NEEDED_BYTE, F_RDLCK);
}

bool HasMaker(int iPixels)
{
    return IsByteLocked(iPixels, NEEDED_BYTE, F_RDLCK);
}

FileDescriptor OpenPixelFile(const Transaction&, const BoardFolder& roFolder, const BoardState& roState, KUINT32 uiNumber)
{
    FileDescriptor oFile = roFolder.OpenFile(NameOf(uiNumber), O_RDONLY);
    ThrowIfReplaced(roFolder, roState);  // a new board has files of the same names, but not before it has replaced this one
    if (!oFile)
        ThrowSystemError(roFolder.PathOf(NameOf(uiNumber)), "open", ENOENT);
    return oFile;
}

void SweepPixelFiles(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState)
{
    if (roState.IsReplaced())
        return;  // the files belong to another board now
    const std::set<KUINT32> oShown  = roState.ReadShownPixelFiles(roTransaction);
    const std::string&      strPath = roFolder.GetPath();

    const int iFd = openat(roFolder.GetDescriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
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
            if (const FileDescriptor oFile = roFolder.OpenFile(strName, O_RDWR);
                oFile && IsMarked(oFile) && !IsByteLocked(oFile.Get(), NEEDED_BYTE, F_WRLCK))
                roFolder.Remove(strName);
        }
        catch (const BoardError&)
        {
            // Not a plain file of the user, so not the board's: it stays.
        }
    }
}
}
