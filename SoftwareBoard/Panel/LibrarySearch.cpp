#include "LibrarySearch.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "BoardError.h"
#include "FileDescriptor.h"
#include "Operations.h"

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

template <class T> T ReadAt(const std::string& strFile, size_t uiOffset)
{
    T tRead = {};
    if (uiOffset <= strFile.size() && strFile.size() - uiOffset >= sizeof(T))
        std::memcpy(&tRead, strFile.data() + uiOffset, sizeof(T));
    return tRead;
}

// The RUNPATH in the bytes of a program; empty if it has none or is no program of this machine's kind.
std::string FindRunPath(const std::string& strFile)
{
    const auto oHeader = ReadAt<ElfW(Ehdr)>(strFile, 0);
    if (std::memcmp(oHeader.e_ident, ELFMAG, SELFMAG) != 0 || oHeader.e_ident[EI_CLASS] != ELFCLASS64)
        return {};
    std::vector<ElfW(Phdr)> aoSegments;
    for (size_t ui = 0; ui < oHeader.e_phnum; ++ui)
        aoSegments.push_back(ReadAt<ElfW(Phdr)>(strFile, oHeader.e_phoff + ui * sizeof(ElfW(Phdr))));

    size_t uiRunPath = 0, uiTexts = 0;
    bool   bFound = false;
    for (const auto& roSegment : aoSegments)
    {
        if (roSegment.p_type != PT_DYNAMIC)
            continue;
        for (size_t uiAt = 0; uiAt < std::min<size_t>(roSegment.p_filesz, strFile.size()); uiAt += sizeof(ElfW(Dyn)))
        {
            const auto oEntry = ReadAt<ElfW(Dyn)>(strFile, roSegment.p_offset + uiAt);
            bFound            = bFound || oEntry.d_tag == DT_RUNPATH;
            uiRunPath         = oEntry.d_tag == DT_RUNPATH ? oEntry.d_un.d_val : uiRunPath;
            uiTexts           = oEntry.d_tag == DT_STRTAB ? oEntry.d_un.d_ptr : uiTexts;
        }
    }
    for (const auto& roSegment : aoSegments)
    {
        const size_t uiText = uiTexts - roSegment.p_vaddr + roSegment.p_offset + uiRunPath;
        if (bFound && roSegment.p_type == PT_LOAD && uiTexts - roSegment.p_vaddr < roSegment.p_filesz &&
            uiText < strFile.size())
            return strFile.c_str() + uiText;
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
