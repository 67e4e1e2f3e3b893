#include "OsServices.h"
#include "OsServicesClient_Linux.h"
#include "QelTools.h"

KCHAR8  OsServices::ms_szMsgPrefix[64]         = "vesk";
KBOOL32 OsServices::ms_bIsMessagePrefixEnabled = TRUE;
KUINT64 OsServices::ms_uiReferenceId           = 0;
KBOOL32 OsServices::ms_bEnableErrorMsg         = TRUE;
KBOOL32 OsServices::ms_bEnableUserMsg          = TRUE;
KBOOL32 OsServices::ms_bEnableInfo             = FALSE;

namespace
{
constexpr KUINT32 LINE_BUFFER_SIZE = 256;

// Passes its arguments to the C layer as an argument list.
[[gnu::format(printf, 1, 2)]] void WriteFormatted(const KCHAR8* pszFormat, ...)
{
    va_list argList;
    va_start(argList, pszFormat);
    OsServices_WriteMsg(pszFormat, argList);
    va_end(argList);
}
}

void OsServices::WriteMsg(const KCHAR8* pszMsg, ...)
{
    va_list argList;
    va_start(argList, pszMsg);
    WriteMsgOfLevel(ms_bEnableInfo, "(Debug) ", pszMsg, argList);
    va_end(argList);
}

void OsServices::WriteUserMsg(const KCHAR8* pszMsg, ...)
{
    va_list argList;
    va_start(argList, pszMsg);
    WriteMsgOfLevel(ms_bEnableUserMsg, "(Info) ", pszMsg, argList);
    va_end(argList);
}

void OsServices::WriteErrorMsg(const KCHAR8* pszMsg, ...)
{
    va_list argList;
    va_start(argList, pszMsg);
    WriteMsgOfLevel(ms_bEnableErrorMsg, "(Error) ", pszMsg, argList);
    va_end(argList);
}

void OsServices::WriteMsgOfLevel(KBOOL32 bIsEnabled, const KCHAR8* pszLevelTag, const KCHAR8* pszMsg, va_list argList)
{
    if (!bIsEnabled)
        return;

    KCHAR8 szLine[LINE_BUFFER_SIZE] = {};

    if (ms_bIsMessagePrefixEnabled)
        FormatString(szLine, LINE_BUFFER_SIZE, "%s(%d.%d.%d.%d)[%llu]: %s", ms_szMsgPrefix, msc_uiMajorVer, msc_uiMinorVer,
                     msc_uiPatchVer, msc_uiBuildVer, ms_uiReferenceId, pszLevelTag);

    const auto uiPrefixLength = static_cast<KUINT32>(QelTools_strlen(szLine));
    QelTools_vsprintf_s(szLine + uiPrefixLength, LINE_BUFFER_SIZE - uiPrefixLength, pszMsg, argList);
    WriteMsgInternal(szLine);
}

void OsServices::WriteMsgInternal(const KCHAR8* pszMsg)
{
    // The line is already formatted. A percent sign in it is plain text.
    WriteFormatted("%s", pszMsg);
}

void OsServices::FormatString(KCHAR8* pacBuf, KUINT32 uiBufSize, const KCHAR8* szFmt, ...)
{
    va_list argList;
    va_start(argList, szFmt);
    QelTools_vsprintf_s(pacBuf, uiBufSize, szFmt, argList);
    va_end(argList);
}

void OsServices::SetMsgPrefix(const KCHAR8* pszPrefix)
{
    QelTools_strcpy_s(ms_szMsgPrefix, sizeof(ms_szMsgPrefix), pszPrefix);
}

void OsServices::SetMsgReferenceId(KUINT64 uiReferenceId)
{
    ms_uiReferenceId = uiReferenceId;
}

void OsServices::SetMsgPrefixEnable(KBOOL32 bIsMsgPrefixEnabled)
{
    ms_bIsMessagePrefixEnabled = bIsMsgPrefixEnabled;
}

void OsServices::SetMsgLevel(KBOOL32 bEnableErrorMsg, KBOOL32 bEnableUserMsg, KBOOL32 bEnableInfo)
{
    ms_bEnableErrorMsg = bEnableErrorMsg;
    ms_bEnableUserMsg  = bEnableUserMsg;
    ms_bEnableInfo     = bEnableInfo;
}

void OsServices::GetMsgLevel(KBOOL32* pbEnableErrorMsg, KBOOL32* pbEnableUsrMsg, KBOOL32* pbEnableInfo)
{
    if (pbEnableErrorMsg != nullptr)
        *pbEnableErrorMsg = ms_bEnableErrorMsg;
    if (pbEnableUsrMsg != nullptr)
        *pbEnableUsrMsg = ms_bEnableUserMsg;
    if (pbEnableInfo != nullptr)
        *pbEnableInfo = ms_bEnableInfo;
}

const KCHAR8* OsServices::GetFileNameOnlySubSring(const KCHAR8* pszFilename)
{
    for (KINT32 i = QelTools_strlen(pszFilename) - 1; i >= 1; --i)
    {
        if (pszFilename[i] == '/' || pszFilename[i] == '\\')
            return pszFilename + i + 1;
    }
    return pszFilename;
}
