#include "Library.h"

#include <cstdlib>
#include <string>

#include "BoardError.h"

namespace Panel
{
namespace
{
// The library lies beside the panel where both were built, and in its private folder where they are installed.
std::string FindLibraryFolder()
{
    const std::filesystem::path oPanel      = FindPanelFolder();
    const std::filesystem::path aoFolders[] = {oPanel, oPanel.parent_path() / "lib" / "tavrin-board"};
    for (const std::filesystem::path& roFolder : aoFolders)
    {
        if (!std::filesystem::exists(roFolder / "libTavrin.so.1"))
            continue;
        // The dynamic linker would take it for two folders, and the command would run on another library.
        if (roFolder.string().find_first_of(":;") != std::string::npos)
            throw SoftwareBoard::BoardError(roFolder.string() + ": LD_LIBRARY_PATH cannot hold a folder of this name");
        return roFolder.string();
    }
    throw SoftwareBoard::BoardError("libTavrin.so.1: neither in " + aoFolders[0].string() + " nor in " +
                                    aoFolders[1].string());
}
}

std::filesystem::path FindPanelFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

void UseBoardLibrary()
{
    std::string strPath = FindLibraryFolder();
    if (const char* pszBefore = std::getenv("LD_LIBRARY_PATH"); pszBefore != nullptr && *pszBefore != '\0')
        strPath += std::string(":") + pszBefore;
    if (setenv("LD_LIBRARY_PATH", strPath.c_str(), 1) != 0)
        SoftwareBoard::ThrowSystemError("LD_LIBRARY_PATH", "setenv");
}
}
