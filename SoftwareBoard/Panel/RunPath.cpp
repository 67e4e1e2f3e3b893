#include "RunPath.h"

#include <elf.h>
#include <link.h>

#include <cstring>
#include <optional>
#include <vector>

namespace SoftwareBoard::Panel
{
namespace
{
// Zeros if that is not in the file.
template <class T> T ReadAt(const std::string& strFile, size_t uiOffset)
{
    T tRead = {};
    if (uiOffset <= strFile.size() && strFile.size() - uiOffset >= sizeof(T))
        std::memcpy(&tRead, strFile.data() + uiOffset, sizeof(T));
    return tRead;
}
}

std::string FindRunPath(const std::string& strFile)
{
    const auto oHeader = ReadAt<ElfW(Ehdr)>(strFile, 0);
    if (std::memcmp(oHeader.e_ident, ELFMAG, SELFMAG) != 0 || oHeader.e_ident[EI_CLASS] != ELFCLASS64)
        return {};
    // A program has one dynamic segment. Only the first is read, so a file with thousands takes no longer.
    std::vector<ElfW(Phdr)>   aoLoaded;
    std::optional<ElfW(Phdr)> ooDynamic;
    for (size_t ui = 0; ui < oHeader.e_phnum; ++ui)
    {
        const auto oSegment = ReadAt<ElfW(Phdr)>(strFile, oHeader.e_phoff + ui * sizeof(ElfW(Phdr)));
        if (oSegment.p_type == PT_LOAD)
            aoLoaded.push_back(oSegment);
        if (oSegment.p_type == PT_DYNAMIC && !ooDynamic)
            ooDynamic = oSegment;
    }

    size_t                uiTexts = 0;
    std::optional<size_t> ouiRunPath;
    for (size_t uiAt = 0; ooDynamic && uiAt < ooDynamic->p_filesz; uiAt += sizeof(ElfW(Dyn)))
    {
        const auto oEntry = ReadAt<ElfW(Dyn)>(strFile, ooDynamic->p_offset + uiAt);
        if (oEntry.d_tag == DT_NULL)  // the last, or behind the end of the file
            break;
        if (oEntry.d_tag == DT_RUNPATH)
            ouiRunPath = oEntry.d_un.d_val;
        if (oEntry.d_tag == DT_STRTAB)
            uiTexts = oEntry.d_un.d_ptr;
    }
    for (const auto& roSegment : aoLoaded)
    {
        const size_t uiText = uiTexts - roSegment.p_vaddr + roSegment.p_offset + ouiRunPath.value_or(0);
        if (ouiRunPath && uiTexts - roSegment.p_vaddr < roSegment.p_filesz && uiText < strFile.size())
            return strFile.c_str() + uiText;
    }
    return {};
}
}
