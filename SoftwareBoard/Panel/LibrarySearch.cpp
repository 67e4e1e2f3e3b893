#include "LibrarySearch.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "BoardError.h"
#include "FileDescriptor.h"
#include "Operations.h"
#include "RunPath.h"

namespace SoftwareBoard::Panel
{
namespace
{
namespace fs = std::filesystem;

constexpr char LIBRARY_NAME[] = "libTavrin.so.1";

std::vector<std::string> Split(const std::string& strText, const char* pszSeparators)
{
    std::vector<std::string> astrParts;
    for (size_t uiBegin = 0, uiEnd = 0; uiEnd != std::string::npos; uiBegin = uiEnd + 1)
    {
        uiEnd = strText.find_first_of(pszSeparators, uiBegin);
        astrParts.push_back(strText.substr(uiBegin, uiEnd - uiBegin));
    }
    return astrParts;
}

// The program that execvp would run; empty if there is none.
fs::path FindInPath(const std::string& strCommand)
{
    if (strCommand.find('/') != std::string::npos)
        return strCommand;
    const char* const pszPath = std::getenv("PATH");
    for (const std::string& strFolder : Split(pszPath != nullptr ? pszPath : "/bin:/usr/bin", ":"))
    {
        const fs::path oProgram = fs::path(strFolder) / strCommand;
        if (access(oProgram.c_str(), X_OK) == 0 && !fs::is_directory(oProgram))
            return oProgram;
    }
    return {};
}

std::vector<std::string> RunPathOf(const char* pszCommand)
{
    const fs::path oProgram = FindInPath(pszCommand);
    if (!fs::is_regular_file(oProgram))
        return {};
    std::ifstream oFile(oProgram, std::ios::binary);
    std::string   strRunPath = FindRunPath({std::istreambuf_iterator<char>(oFile), {}});
    if (strRunPath.empty())
        return {};
    const std::string strFolder = fs::canonical(oProgram).parent_path();
    for (const std::string strOrigin : {"${ORIGIN}", "$ORIGIN"})
    {
        for (size_t ui = 0; (ui = strRunPath.find(strOrigin, ui)) != std::string::npos; ui += strFolder.size())
            strRunPath.replace(ui, strOrigin.size(), strFolder);
    }
    return Split(strRunPath, ":");
}

// The library in the folders that come before those of the system; empty if there is none.
std::string FindInFolders(const char* pszCommand, const fs::path& roExcept)
{
    std::vector<std::string> astrFolders;
    if (const char* pszFolders = std::getenv("LD_LIBRARY_PATH"); pszFolders != nullptr && *pszFolders != '\0')
        astrFolders = Split(pszFolders, ":;");
    const std::vector<std::string> astrRunPath = RunPathOf(pszCommand);
    astrFolders.insert(astrFolders.end(), astrRunPath.begin(), astrRunPath.end());
    for (const std::string& strFolder : astrFolders)
    {
        const fs::path  oPath = fs::path(strFolder) / LIBRARY_NAME;
        std::error_code oIgnored;
        if (fs::exists(oPath, oIgnored) && !fs::equivalent(oPath, roExcept, oIgnored))
            return oPath;
    }
    return {};
}

// Opens the library, which has all operations, and returns its absolute path. Throws BoardError.
std::string OpenLibrary(const std::string& strPath)
{
    void* const pLibrary = dlopen(strPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    link_map*   poMap    = nullptr;
    if (pLibrary == nullptr || dlinfo(pLibrary, RTLD_DI_LINKMAP, &poMap) != 0)
        throw BoardError(std::string("there is no device library: ") + dlerror());
    for (const Recorder::SOperation& roOperation : Recorder::OPERATIONS)
    {
        if (dlsym(pLibrary, roOperation.svName.data()) == nullptr)
            throw BoardError(strPath + ": it has no " + std::string(roOperation.svName));
    }
    return fs::absolute(poMap->l_name);
}

// OpenLibrary in a child process, which says after a mark what it returned or threw.
std::string OpenInChild(const std::string& strPath)
{
    constexpr char     OPENED = '+', FAILED = '-';
    std::array<int, 2> aiPipe = {};
    if (pipe2(aiPipe.data(), O_CLOEXEC) != 0)
        ThrowSystemError(strPath, "pipe");
    const FileDescriptor oRead(aiPipe[0]);
    FileDescriptor       oWrite(aiPipe[1]);
    const pid_t          iChild = fork();
    if (iChild < 0)
        ThrowSystemError(strPath, "fork");
    if (iChild == 0)
    {
        std::string strSaid;
        try
        {
            strSaid = OPENED + OpenLibrary(strPath);
        }
        catch (const std::exception& roError)
        {
            strSaid = FAILED + std::string(roError.what());
        }
        (void)!write(oWrite.Get(), strSaid.data(), strSaid.size());
        _exit(0);
    }
    oWrite                        = FileDescriptor();
    std::array<char, 8192> acSaid = {};
    const ssize_t          iSaid  = read(oRead.Get(), acSaid.data(), acSaid.size());
    waitpid(iChild, nullptr, 0);
    if (iSaid < 1)
        throw BoardError(strPath + ": it crashes when it is opened");
    const std::string strSaid(acSaid.data() + 1, static_cast<size_t>(iSaid - 1));
    if (acSaid[0] == FAILED)
        throw BoardError(strSaid);
    return strSaid;
}
}

std::string FindDeviceLibrary(const char* pszCommand, const std::string& strChosen, const std::string& strRecorder)
{
    const fs::path    oRecorder  = fs::path(strRecorder) / LIBRARY_NAME;
    const std::string strFound   = strChosen.empty() ? FindInFolders(pszCommand, oRecorder) : strChosen;
    const std::string strLibrary = OpenInChild(strFound.empty() ? LIBRARY_NAME : fs::absolute(strFound).string());
    std::error_code   oIgnored;
    if (fs::equivalent(strLibrary, oRecorder, oIgnored))
        throw BoardError(strLibrary + ": it is the recording library; --library names another");
    return strLibrary;
}

void RequireProgram(const char* pszCommand)
{
    const fs::path oProgram = FindInPath(pszCommand);
    if (oProgram.empty() || access(oProgram.c_str(), X_OK) != 0)
        ThrowSystemError(pszCommand, "exec", oProgram.empty() ? ENOENT : errno);
}
}
