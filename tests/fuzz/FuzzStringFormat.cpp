// Formats of up to eight conversions with arguments that fit them: a string formats as the C library does, and the length
// that it estimates beforehand is enough but for a sign, a point and an exponent beside a precision.
#include <cstdio>
#include <functional>

#include "Fuzz.h"
#include "OsServices.h"
#include "QelMFCTypes.h"

OsServices g_oOsServices(nullptr);

namespace
{
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
KINT32                 Estimate(const char* pszFormat, ...)
{
    va_list argList;
    va_start(argList, pszFormat);
    const KINT32 iLength = CKString::GetFormattedLength(pszFormat, argList);
    va_end(argList);
    return iLength;
}

template <class... TArguments>
void Compare(CKString& roString, std::string& rsExpected, const std::string& sFormat, TArguments... arguments)
{
    char      acText[4096];
    const int iLength = std::snprintf(acText, sizeof(acText), sFormat.c_str(), arguments...);
    Must(Estimate(sFormat.c_str(), arguments...) + 8 >= iLength && iLength < static_cast<int>(sizeof(acText)));
    CKString oFresh;
    oFresh.Format(sFormat.c_str(), arguments...);
    roString.AppendFormat(sFormat.c_str(), arguments...);
    Must(oFresh == acText && roString == (rsExpected += acText).c_str());
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    const auto  fNext = [&]() -> unsigned { return uiSize > 0 ? (--uiSize, *puiData++) : 0u; };
    CKString    oString;
    std::string sExpected;
    for (int i = 0; i < 8 && uiSize > 0; ++i)
    {
        std::string sFormat = std::string(fNext() % 40, 'x') + '%';
        for (unsigned ui = fNext(); ui & 3; ui >>= 2) sFormat += "-0 "[(ui & 3) - 1];
        const unsigned uiWidth = fNext(), uiPrecision = fNext(), uiKind = fNext() % 8, uiRest = fNext();
        sFormat += uiKind == 1 ? "*" : uiWidth > 150 ? std::to_string(uiWidth) : "";
        if (uiPrecision > 99 && uiKind != 6) (sFormat += '.') += std::to_string(uiPrecision);
        const long long iValue = static_cast<long long>(uiRest * 0x9E3779B97F4A7C15u);
        const auto fCompare    = [&](const char* pszEnd, auto... o) { Compare(oString, sExpected, sFormat + pszEnd, o...); };
        const std::function<void()> afKinds[] = {[&] { fCompare("d", static_cast<int>(iValue)); },
                                                 [&] { fCompare("lld", static_cast<int>(uiWidth), iValue); },
                                                 [&] { fCompare("lx", static_cast<unsigned long>(iValue)); },
                                                 [&] { fCompare("hhu", uiRest); },
                                                 [&] { fCompare("f", static_cast<double>(iValue) * 1e250); },
                                                 [&] { fCompare("s", std::string(uiRest, 's').c_str()); },
                                                 [&] { fCompare("c", static_cast<int>(uiRest & 0x7F) | 1); },
                                                 [&] { fCompare("Lg", static_cast<long double>(iValue)); }};
        afKinds[uiKind]();
    }
    return 0;
}
