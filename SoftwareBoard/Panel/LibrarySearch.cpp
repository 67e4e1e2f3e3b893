#include "LibrarySearch.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "BoardError.h"
#include "Operations.h"

namespace SoftwareBoard::Panel
{
namespace
{
namespace fs = std::filesystem;

constexpr char LIBRARY_NAME[] = "libTavrin.so.1";

using Library = std::unique_ptr<void, int (*)(void*)>;

Library Load(const std::string& strName)
{
    Library poLibrary(dlopen(strName.c_str(), RTLD_NOW | RTLD_LOCAL), dlclose);
    if (poLibrary == nullptr)
        throw BoardError(std::string("there is no device library: ") + dlerror());
    return poLibrary;
}

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
}

std::string FindDeviceLibrary(const char* pszCommand, const std::string& strExcept)
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
        if (fs::exists(oPath, oIgnored) && !fs::equivalent(oPath, fs::path(strExcept) / LIBRARY_NAME, oIgnored))
            return fs::absolute(oPath);
    }
    const Library poLibrary = Load(LIBRARY_NAME);
    link_map*     poMap     = nullptr;
    if (dlinfo(poLibrary.get(), RTLD_DI_LINKMAP, &poMap) != 0)
        throw BoardError(std::string(LIBRARY_NAME) + ": " + dlerror());
    return fs::absolute(poMap->l_name);
}

std::string CheckDeviceLibrary(const std::string& strPath)
{
    const std::string strAbsolute = fs::absolute(strPath);
    const Library     poLibrary   = Load(strAbsolute);
    for (const Recorder::SOperation& roOperation : Recorder::OPERATIONS)
    {
        if (dlsym(poLibrary.get(), roOperation.svName.data()) == nullptr)
            throw BoardError(strPath + ": it has no " + std::string(roOperation.svName));
    }
    return strAbsolute;
}
}
