#include "Installation.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "BoardError.h"

namespace SoftwareBoard::Panel
{
namespace
{
std::filesystem::path FindOwnFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}
}

std::string FindProgram(const std::string& strName)
{
    const std::filesystem::path oBeside = FindOwnFolder() / strName;
    return access(oBeside.c_str(), X_OK) == 0 ? oBeside.string() : strName;
}

// In the build folder the library is beside the program. Installed, it is in ../lib/tavrin-board.
std::string FindLibraryFolder(const std::string& strKind)
{
    const std::filesystem::path oOwn        = FindOwnFolder();
    std::filesystem::path       aoFolders[] = {oOwn, oOwn.parent_path() / "lib" / "tavrin-board"};
    for (std::filesystem::path& roFolder : aoFolders)
        roFolder = strKind.empty() ? roFolder : roFolder / strKind;
    for (const std::filesystem::path& roFolder : aoFolders)
    {
        if (!std::filesystem::exists(roFolder / "libTavrin.so.1"))
            continue;
        // The dynamic linker would read such a name as two folders, and the command would get another library.
        if (roFolder.string().find_first_of(":;") != std::string::npos)
            throw BoardError(roFolder.string() + ": LD_LIBRARY_PATH cannot hold a folder of this name");
        return roFolder.string();
    }
    throw BoardError("libTavrin.so.1: neither in " + aoFolders[0].string() + " nor in " + aoFolders[1].string());
}

void SetVariable(const char* pszName, const std::string& strValue)
{
    if (setenv(pszName, strValue.c_str(), 1) != 0)
        ThrowSystemError(pszName, "setenv");
}

void UseLibrary(const std::string& strKind)
{
    std::string strPath = FindLibraryFolder(strKind);
    if (const char* pszBefore = std::getenv("LD_LIBRARY_PATH"); pszBefore != nullptr && *pszBefore != '\0')
        strPath += std::string(":") + pszBefore;
    SetVariable("LD_LIBRARY_PATH", strPath);
}
}
