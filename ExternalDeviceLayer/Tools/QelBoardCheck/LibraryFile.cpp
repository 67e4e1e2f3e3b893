#include "LibraryFile.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "QelTypes.h"

namespace BoardCheck
{
namespace
{
// The name that the library gives itself. The dynamic linker has relocated the address of the texts, except on machines
// whose dynamic section cannot be written.
std::string ReadSoname(const link_map& roMap)
{
    const char* pszTexts = nullptr;
    size_t      uiSoname = 0;
    for (const ElfW(Dyn)* poEntry = roMap.l_ld; poEntry->d_tag != DT_NULL; ++poEntry)
    {
        if (poEntry->d_tag == DT_STRTAB)
            pszTexts = reinterpret_cast<const char*>(poEntry->d_un.d_ptr);
        if (poEntry->d_tag == DT_SONAME)
            uiSoname = poEntry->d_un.d_val;
    }
    return pszTexts != nullptr && uiSoname != 0 ? pszTexts + uiSoname : "";
}

struct SBuildId
{
    ElfW(Addr) uiBase;
    std::string strHex;
};

// Reads the notes of the library at the base address that the search is for.
int FindBuildId(dl_phdr_info* poInfo, size_t, void* pvBuildId)
{
    SBuildId& roBuildId = *static_cast<SBuildId*>(pvBuildId);
    if (poInfo->dlpi_addr != roBuildId.uiBase)
        return 0;
    for (const ElfW(Phdr)* poHeader = poInfo->dlpi_phdr; poHeader < poInfo->dlpi_phdr + poInfo->dlpi_phnum; ++poHeader)
    {
        if (poHeader->p_type != PT_NOTE)
            continue;
        const size_t uiAlign = poHeader->p_align == 8 ? 8 : 4;
        const auto   fPadded = [uiAlign](size_t uiSize) { return (uiSize + uiAlign - 1) / uiAlign * uiAlign; };
        const auto*  pacNote = reinterpret_cast<const KUINT8*>(poInfo->dlpi_addr + poHeader->p_vaddr);
        const auto*  pacEnd  = pacNote + poHeader->p_memsz;
        while (pacNote + sizeof(ElfW(Nhdr)) <= pacEnd)
        {
            ElfW(Nhdr) oNote;
            std::memcpy(&oNote, pacNote, sizeof(oNote));
            const KUINT8* const pacId = pacNote + fPadded(sizeof(oNote) + oNote.n_namesz);
            if (pacId + oNote.n_descsz > pacEnd)
                break;
            if (oNote.n_type == NT_GNU_BUILD_ID && oNote.n_namesz == 4 &&
                std::memcmp(pacNote + sizeof(oNote), "GNU", 4) == 0)
            {
                for (size_t i = 0; i < oNote.n_descsz; ++i)
                {
                    constexpr char DIGITS[] = "0123456789abcdef";
                    roBuildId.strHex += {DIGITS[pacId[i] >> 4], DIGITS[pacId[i] & 15]};
                }
                return 1;
            }
            pacNote = pacId + fPadded(oNote.n_descsz);
        }
    }
    return 1;
}

Json TextOrNull(const std::string& strText)
{
    return strText.empty() ? Json() : Json(strText);
}
}

Json DescribeLibraryFile(void* pvLibrary)
{
    Json oFile = {{"path", nullptr}, {"file", nullptr}, {"soname", nullptr}, {"version", nullptr}, {"build_id", nullptr}};
    link_map* poMap = nullptr;
    if (dlinfo(pvLibrary, RTLD_DI_LINKMAP, &poMap) != 0)
        return oFile;

    char              acFile[PATH_MAX];
    const std::string strFile   = realpath(poMap->l_name, acFile) != nullptr ? acFile : poMap->l_name;
    const size_t      uiVersion = strFile.rfind(".so.");
    SBuildId          oBuildId  = {poMap->l_addr, ""};
    dl_iterate_phdr(FindBuildId, &oBuildId);

    oFile["path"]     = poMap->l_name;
    oFile["file"]     = strFile;
    oFile["soname"]   = TextOrNull(ReadSoname(*poMap));
    oFile["version"]  = uiVersion == std::string::npos ? Json() : Json(strFile.substr(uiVersion + 4));
    oFile["build_id"] = TextOrNull(oBuildId.strHex);
    return oFile;
}
}
