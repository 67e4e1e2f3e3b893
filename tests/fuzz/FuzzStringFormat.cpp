// Formats of up to eight conversions with arguments that fit them: a string formats as the C library does, and the length
// that it estimates beforehand is enough.
#include <cstdio>
#include <string>

#include "Fuzz.h"
#include "OsServices.h"
#include "QelMFCTypes.h"

OsServices g_oOsServices(nullptr);

namespace
{
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <class T> void Compare(CKString& roString, std::string& rsExpected, const std::string& sFormat, int iStar, T argument)
{
    char       acText[4096];
    const bool bStar = sFormat.find('*') != std::string::npos;
    const int  iLength = bStar ? std::snprintf(acText, sizeof(acText), sFormat.c_str(), iStar, argument)
                               : std::snprintf(acText, sizeof(acText), sFormat.c_str(), argument);
    Must(iLength >= 0 && iLength < static_cast<int>(sizeof(acText)));
    const auto fEstimate = [](const char* pszFormat, ...) {
        va_list argList;
        va_start(argList, pszFormat);
        const KINT32 iEstimate = CKString::GetFormattedLength(pszFormat, argList);
        va_end(argList);
        return iEstimate;
    };
    // Beside a precision, it leaves out a sign, a point and an exponent.
    Must((bStar ? fEstimate(sFormat.c_str(), iStar, argument) : fEstimate(sFormat.c_str(), argument)) + 8 >= iLength);

    rsExpected += acText;
    bStar ? roString.AppendFormat(sFormat.c_str(), iStar, argument) : roString.AppendFormat(sFormat.c_str(), argument);
    Must(rsExpected == static_cast<const KCHAR8*>(roString));
    CKString oFresh;
    bStar ? oFresh.Format(sFormat.c_str(), iStar, argument) : oFresh.Format(sFormat.c_str(), argument);
    Must(std::string(acText) == static_cast<const KCHAR8*>(oFresh));
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, std::size_t uiSize)
{
    const auto  fNext = [&]() -> unsigned { return uiSize > 0 ? (--uiSize, *puiData++) : 0u; };
    CKString    oString;
    std::string sExpected;
    for (int i = 0; i < 8 && uiSize > 0; ++i)
    {
        std::string sFormat = std::string(fNext() % 40, 'x') + '%';
        for (unsigned ui = fNext(); ui & 3; ui >>= 2)
            sFormat += "-0 "[(ui & 3) - 1];
        const unsigned uiWidth = fNext(), uiPrecision = fNext(), uiKind = fNext() % 8;
        sFormat += uiWidth == 255 ? "*" : uiWidth > 150 ? std::to_string(uiWidth) : "";
        if (uiPrecision > 99 && uiKind != 6)
            (sFormat += '.') += std::to_string(uiPrecision);
        long long iValue = 0;
        for (int iByte = 0; iByte < 8; ++iByte)
            iValue = static_cast<long long>(static_cast<unsigned long long>(iValue) << 8 | fNext());
        const int iStar = static_cast<int>(fNext());
        switch (uiKind)
        {
        case 0: Compare(oString, sExpected, sFormat + "d", iStar, static_cast<int>(iValue)); break;
        case 1: Compare(oString, sExpected, sFormat + "lld", iStar, iValue); break;
        case 2: Compare(oString, sExpected, sFormat + "lx", iStar, static_cast<unsigned long>(iValue)); break;
        case 3: Compare(oString, sExpected, sFormat + "hhu", iStar, static_cast<unsigned>(iValue)); break;
        case 4: Compare(oString, sExpected, sFormat + "f", iStar, static_cast<double>(iValue) * 1e250); break;
        case 5: Compare(oString, sExpected, sFormat + "s", iStar, std::string(static_cast<std::size_t>(iValue & 0xFF), 's').c_str()); break;
        case 6: Compare(oString, sExpected, sFormat + "c", iStar, static_cast<int>(iValue & 0x7F) | 1); break;
        default: Compare(oString, sExpected, sFormat + "Lg", iStar, static_cast<long double>(iValue)); break;
        }
    }
    return 0;
}
