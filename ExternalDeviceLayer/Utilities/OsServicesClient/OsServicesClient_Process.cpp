#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "OsServicesClient_Linux.h"
#include "QelTools.h"

namespace
{
constexpr KUINT32 PROCESS_NAME_SIZE = 512;

std::FILE* OpenProcessFile(pid_t pPid, const char* pszFile)
{
    char szPath[32];
    std::snprintf(szPath, sizeof(szPath), "/proc/%d/%s", pPid, pszFile);
    return std::fopen(szPath, "re");
}

// Appends the name and a line end to the text of uiLength characters, cut to the buffer. Returns the new length.
KUINT32 AppendProcessName(pid_t pPid, KCHAR8* pszText, KUINT32 uiBufferSize, KUINT32 uiLength)
{
    char szName[PROCESS_NAME_SIZE];
    OsServices_GetProcessName(pPid, szName, sizeof(szName));

    const KUINT32 uiRoom       = uiBufferSize - uiLength;
    const int     iWholeLength = std::snprintf(pszText + uiLength, uiRoom, "%s\n", szName);
    return uiLength + std::min(static_cast<KUINT32>(iWholeLength), uiRoom - 1);
}
}

pid_t OsServices_GetParentPid(pid_t pPid)
{
    std::FILE* const poFile = OpenProcessFile(pPid, "stat");
    if (poFile == nullptr)
        return 0;

    pid_t pParent = 0;
    if (std::fscanf(poFile, "%*d %*s %*c %d", &pParent) != 1)
        pParent = 0;
    std::fclose(poFile);
    return pParent;
}

void OsServices_GetProcessName(pid_t pPid, char* pszName, KUINT32 uiNameBufferSize)
{
    if (pszName == nullptr || uiNameBufferSize == 0)
        return;

    QelTools_memset(pszName, 0, uiNameBufferSize);
    std::FILE* const poFile = OpenProcessFile(pPid, "cmdline");
    if (poFile == nullptr)
        return;

    for (KUINT32 i = 0; i < uiNameBufferSize - 1; ++i)
    {
        const int iCharacter = std::fgetc(poFile);
        if (iCharacter == EOF)
            break;
        pszName[i] = iCharacter != 0 ? static_cast<char>(iCharacter) : ' ';
    }
    std::fclose(poFile);
}

TStatus OsServices_GetProcessStack(KCHAR8* pszProcessStack, KUINT32 uiBufferSize)
{
    if (pszProcessStack == nullptr)
        return TStatus_INVALID_PARAM;
    if (uiBufferSize == 0)
        return TStatus_OK;

    // Processes come and go meanwhile, so the parents may form a loop. Each line takes space, so the walk ends anyway.
    pid_t   pPid     = getpid();
    KUINT32 uiLength = AppendProcessName(pPid, pszProcessStack, uiBufferSize, 0);
    do
    {
        pPid     = OsServices_GetParentPid(pPid);
        uiLength = AppendProcessName(pPid, pszProcessStack, uiBufferSize, uiLength);
    } while (pPid > 1 && uiBufferSize - uiLength > 1);
    return TStatus_OK;
}
