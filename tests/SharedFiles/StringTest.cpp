#include <gtest/gtest.h>

#include <cwchar>
#include <string>
#include <vector>

#include "CountingAllocator.h"

namespace
{
int g_iReports = 0;

// How many of the next attempts with this format fail.
constexpr KCHAR8 FAILING_FORMAT[] = "%s-%d";
int              g_iFailures      = 0;
}

int TakeReports()
{
    return std::exchange(g_iReports, 0);
}

void ExpectReport(bool bHeld, int iLine)
{
    EXPECT_TRUE(bHeld) << "line " << iLine;
    EXPECT_EQ(TakeReports(), 1) << "line " << iLine;
}

extern "C"
{
// Every report comes from the containers' own files.
void QelTools_Assert(KBOOL32 bCond, const KCHAR8* pszFilename, KINT32)
{
    EXPECT_FALSE(bCond);
    EXPECT_NE(std::strstr(pszFilename, "/QelMFCTypes"), nullptr) << pszFilename;
    ++g_iReports;
}

KINT32 __real_QelTools_vsprintf_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszFormat, va_list argList);
KINT32 __wrap_QelTools_vsprintf_s(KCHAR8* pszDest, KUINT32 uiDestSize, const KCHAR8* pszFormat, va_list argList)
{
    if (std::strcmp(pszFormat, FAILING_FORMAT) != 0 || g_iFailures-- <= 0)
        return __real_QelTools_vsprintf_s(pszDest, uiDestSize, pszFormat, argList);

    // Like a failing C library: the arguments are used up, and the buffer is left full of anything.
    __real_QelTools_vsprintf_s(pszDest, uiDestSize, pszFormat, argList);
    std::memset(pszDest, '?', uiDestSize);
    return -1;
}
}

namespace
{
// No format attribute: formats here may be wrong.
KINT32 Estimate(const KCHAR8* pszFormat, ...)
{
    va_list argList;
    va_start(argList, pszFormat);
    const KINT32 iLength = CKString::GetFormattedLength(pszFormat, argList);
    va_end(argList);
    return iLength;
}

// The same for a format that the compiler would rightly refuse.
constexpr void (CKString::*FormatAnything)(const KCHAR8*, ...)       = &CKString::Format;
constexpr void (CKString::*AppendFormatAnything)(const KCHAR8*, ...) = &CKString::AppendFormat;

struct StringTest : testing::Test
{
    ~StringTest() override { EXPECT_EQ(TakeReports(), 0) << "reports that no one expected"; }

    CountingAllocator m_oAllocator;
};
}

TEST_F(StringTest, SearchesCountsAndExtractsByTable)
{
    const CKString s("abcABCabc"), e;
    const struct
    {
        const char* pszCase;
        KINT32      iActual, iExpected;
    } aoNumbers[] = {
        {"char", s.Find('b', 2), 7},
        {"char at the end", s.Find('b', 9), -1},
        {"the terminator is no character", s.Find('\0'), -1},
        {"text", s.Find("ca"), -1},
        {"text from a start", s.Find("abc", 1), 6},
        {"empty text at the end", s.Find("", 9), 9},
        {"empty text beyond", s.Find("", 10), -1},
        {"no case", s.FindNoCase('A', 1), 3},
        {"no case text", s.FindNoCase("CaB"), 2},
        {"reverse", s.ReverseFind('b'), 7},
        {"reverse none", s.ReverseFind('x'), -1},
        {"reverse no case", s.ReverseFindNoCase('C'), 8},
        {"count", s.CountOf('a'), 2},
        {"count no case", s.CountOfNoCase('a'), 3},
        {"in empty", e.Find('a'), -1},
        {"unsigned left of more than there is", s.Left(0xffffffffu).GetLength(), 9},
        {"negative left", s.Left(-1).GetLength(), 0},
        {"right of more", s.Right(10).GetLength(), 9},
        {"compare", CKString("ab").Compare("b") < 0, 1},
        {"compare no case", s.CompareNoCase("ABCabcABC"), 0},
    };
    for (const auto& roRow : aoNumbers)
        EXPECT_EQ(roRow.iActual, roRow.iExpected) << roRow.pszCase;

    EXPECT_EQ(s.Mid(7, 100), "bc");
    EXPECT_EQ(s.Mid(-2, 2), "ab");
    EXPECT_EQ(s.Mid(8), "c");
    EXPECT_EQ(s.Left(9).c_str(), s.c_str());
    EXPECT_EQ(CKString('x', -1) + e, "");
    EXPECT_EQ("<" + CKString('x', 3u) + '>' + nullptr + s.Left(1), "<xxx>a");
    EXPECT_EQ(s[9], '\0');
    EXPECT_LT(CKString("a"), CKString("aa"));
    EXPECT_EQ(CKString("\xe4z[").MakeUpper(), "\xe4Z[") << "ASCII letters only";
}

TEST_F(StringTest, ChangesAtTheEdges)
{
    CKString s("abcde");
    EXPECT_EQ(s.Delete(1, 2), 5);
    EXPECT_EQ(s, "ade");
    EXPECT_EQ(s.Delete(7), 3);
    EXPECT_EQ(s.Delete(-1, 5), 3) << "five from before the start is more than there is";
    EXPECT_EQ(s, "ade");
    EXPECT_EQ(s.Delete(-1, 2), 3) << "the count is not cut by the negative index";
    EXPECT_EQ(s, "e");
    EXPECT_EQ(s.Insert(-5, "<"), 2);
    EXPECT_EQ(s.Insert(99, s.c_str()), 4);
    EXPECT_EQ(s.Insert(0, static_cast<const KCHAR8*>(nullptr)), 4);
    EXPECT_EQ(s, "<e<e");

    EXPECT_EQ((CKString(' ', 300) + "x").TrimLeft(" "), "x");
    for (CKString& (CKString::*Trim)(const KCHAR8*) : {&CKString::TrimLeft, &CKString::TrimRight, &CKString::Trim})
        EXPECT_EQ((CKString("   ").*Trim)(" ").GetLength(), 0);
    EXPECT_EQ(CKString(" ab  ").TrimRight(" "), " ab");
    EXPECT_EQ(CKString("--ab-").Trim("-"), "ab");
    EXPECT_EQ(CKString(" a ").Trim(nullptr).Trim(""), " a ");

    s.GetBufferSetLength(3);
    s.SetAt(1, '\0');  // a NUL inside is in no set
    EXPECT_EQ(s.TrimRight("<").GetLength(), 2);
    EXPECT_EQ(s.CountOf('\0'), 1);

    std::memset(s.GetBuffer(8), 'x', 8);  // no terminator: the measure ends with the buffer
    s.ReleaseBuffer();
    EXPECT_EQ(s, "xxxxxxxx");
}

TEST_F(StringTest, EmptyStringsTouchNoStorage)
{
    CKString a, b(a), c(""), d('x', 0), e(static_cast<const KCHAR8*>(nullptr));
    b = c;
    c.Empty();
    c.FreeExtra();
    c.MakeUpper().MakeReverse().Trim(" ");
    c.LockBuffer();
    c.UnlockBuffer();
    c.ReleaseBuffer(0);
    c.GetBufferSetLength(0);
    c += "";
    a = a + c;
    EXPECT_EQ(a.Begin(" "), a.End());
    CKString aoRaw[2];
    KConstructElements(aoRaw, 2);
    for (const CKString* po : std::initializer_list<const CKString*>{&a, &b, &c, &d, &e, aoRaw + 1, CKString::m_poEmptyString})
        EXPECT_EQ(po->c_str(), CKString::m_poEmptyString->c_str());
    EXPECT_EQ(CKString::m_poEmptyString->GetMetaData()->iRefs, -1);
    EXPECT_EQ(a.Begin(" "), a.End());
    EXPECT_EQ(m_oAllocator.GetCount(), 0u);
}

TEST_F(StringTest, ATextThatGrowsALockedStringLeavesItLocked)
{
    CKString s("ab");
    s.LockBuffer();
    s = "abcdef";
    EXPECT_EQ(s.GetMetaData()->iRefs, -1);
    EXPECT_EQ(s.GetAllocLength(), 6);
    s = CKString("abcdefgh");
    EXPECT_EQ(s.GetMetaData()->iRefs, -1);
    s.Empty();
    EXPECT_EQ(s.GetMetaData()->iRefs, -1);
    EXPECT_EQ(s.GetAllocLength(), 8);
    s += "abcdefghi";
    EXPECT_EQ(s.GetMetaData()->iRefs, 1) << "an appended text is a reallocation like others";
}

TEST_F(StringTest, FormatsExactlyAndAppendsByDoubling)
{
    CKString s;
    s.Format("%d", 7);
    EXPECT_EQ(s, "7");
    EXPECT_EQ(s.GetAllocLength(), 2);

    for (const auto& [iAdded, iCapacity] : {std::pair{50, 128}, {100, 161}, {4, 128}, {3, 64}})
    {
        CKString oText('x', 64);
        oText.GetBufferSetLength(60);
        oText.AppendFormat("%*d", iAdded, 1);
        EXPECT_EQ(oText.GetLength(), 60 + iAdded);
        EXPECT_EQ(oText.GetAllocLength(), iCapacity) << iAdded;
    }
}

// The estimate of a conversion, with a text behind it: 3 more when its argument is the next in the list.
TEST_F(StringTest, EstimatesByTable)
{
    const int         n = 0;
    const char        acNoEnd[3] = {'a', 'b', 'c'};
    const char* const pszNull = nullptr;
    const struct
    {
        const char* pszFormat;
        KINT32      iActual, iExpected;
    } aoRows[] = {
        {"plain", Estimate("a%%b%s", "end"), 3 + 3},
        {"c", Estimate("%c%s", 'x', "end"), 2 + 3},
        {"hc C lc", Estimate("%hc%C%lc%s", 1, 1, 1, "end"), 6 + 3},
        {"5c", Estimate("%5c%s", 'x', "end"), 5 + 3},
        {"s", Estimate("%s%s", "abcdef", "end"), 6 + 3},
        {"s, empty", Estimate("%s%s", "", "end"), 1 + 3},
        {"s, null", Estimate("%s%s", pszNull, "end"), 6 + 3},
        {"10.3s", Estimate("%10.3s%s", "abcdef", "end"), 10 + 3},
        {".3s", Estimate("%.3s%s", "abcdef", "end"), 3 + 3},
        {".3s without end", Estimate("%.3s%s", acNoEnd, "end"), 3 + 3},
        {"*.*s", Estimate("%*.*s%s", 8, 2, "abcdef", "end"), 8 + 3},
        {"*s, width 0 then digits", Estimate("%*9s%s", 0, "a", "end"), 9 + 3},
        {"hs hS", Estimate("%hs%hS%s", "ab", "abc", "end"), 5 + 3},
        {"ls S lS", Estimate("%ls%S%lS%s", L"ab", L"abc", L"", "end"), 6 + 3},
        {"ls, null", Estimate("%ls%s", pszNull, "end"), 6 + 3},
        {"integers", Estimate("%d%i%o%u%x%X%p%s", 1, 1, 1, 1, 1, 1, &n, "end"), 7 * 32 + 3},
        {"sizes", Estimate("%hd%ld%lld%llx%s", 1, 1L, 1LL, 1ULL, "end"), 4 * 32 + 3},
        {"#x", Estimate("%#x%s", 1, "end"), 34 + 3},
        {"#-+0 40d", Estimate("%#-+0 40d%s", 1, "end"), 42 + 3},
        {"30.20d", Estimate("%30.20d%s", 1, "end"), 50 + 3},
        {"e E g G", Estimate("%e%E%g%G%s", 1., 1., 1., 1., "end"), 4 * 128 + 3},
        {"100.100e", Estimate("%100.100e%s", 1., "end"), 200 + 3},
        {".2f", Estimate("%.2f%s", 1., "end"), 314 + 3},
        {"f", Estimate("%500f%s", 1., "end"), 312 + 3},
        {"Lf", Estimate("%Lf%Nd%Fd%s", 1.L, 1, 1, "end"), 312 + 64 + 3},
        {"n", Estimate("%n%s", &n, "end"), 3},
    };
    for (const auto& roRow : aoRows)
        EXPECT_EQ(roRow.iActual, roRow.iExpected) << roRow.pszFormat;
    EXPECT_EQ(TakeReports(), 0);

    ExpectReport(Estimate("a%") == 1);
    ExpectReport(Estimate("%y%s", "end") == 3);
    ExpectReport(Estimate("%lls") == 0);
    ExpectReport(Estimate("%llc") == 0);
    ExpectReport(Estimate("%*d%s", -50, 1, "end") == 32 + 3);
    ExpectReport(Estimate("%.*s%s", -1, "abc", "end") == 3 + 3);
    ExpectReport(Estimate("%2147483647c%2147483647c", 1, 1) == 2147483647);
}

TEST_F(StringTest, SurvivesAFormatterThatFails)
{
    CKString s("0123456789");
    const CKString oShared(s);

    g_iFailures = 1;
    s.Format(FAILING_FORMAT, "abc", 42);
    EXPECT_EQ(s, "abc-42");
    EXPECT_EQ(s.GetAllocLength(), 3 + 1 + 32 + 1) << "the estimate and one";
    g_iFailures = 1;
    s.AppendFormat(FAILING_FORMAT, "0123456789", 7);
    EXPECT_EQ(s, "abc-420123456789-7");
    EXPECT_EQ(s.GetAllocLength(), 74) << "doubled";

    g_iFailures = 2;
    s.AppendFormat(FAILING_FORMAT, "abc", 42);
    EXPECT_EQ(s, "abc-420123456789-7");
    EXPECT_EQ(TakeReports(), 1);
    g_iFailures = 2;
    s.Format(FAILING_FORMAT, "abc", 42);
    EXPECT_EQ(s, "");
    EXPECT_EQ(TakeReports(), 1);
    EXPECT_EQ(oShared, "0123456789");

    // The C library's own: a wide character without a form, a format that breaks off.
    s = "kept";
    s.AppendFormat("%lc", wint_t{0x20ac});
    EXPECT_EQ(s, "kept");
    EXPECT_EQ(TakeReports(), 1);
    s.Format("%ls", L"\x20ac");
    EXPECT_EQ(s, "");
    EXPECT_EQ(TakeReports(), 1);
    (s.*FormatAnything)("abc%");
    EXPECT_EQ(s, "");
    EXPECT_EQ(TakeReports(), 2) << "the conversion and the second attempt";
}

TEST_F(StringTest, ReportsBrokenContractsAndStaysInside)
{
    constexpr KINT32 MAX = 2147483647;
    CKString s("abc");
    const CKString oShared(s);
    ExpectReport(s.Mid(5, 1) == "");
    ExpectReport(s.Mid(0x80000000u) == "");
    ExpectReport((s.SetAt(3, 'x'), s.SetAt(0, 'a'), s == "abc"));
    ExpectReport(s.GetAt(4) == '\0');
    ExpectReport(s.Find('b', -1) == 1);
    ExpectReport(s.Find(static_cast<const KCHAR8*>(nullptr)) == -1);
    ExpectReport(s.FindNoCase(static_cast<const KCHAR8*>(nullptr)) == -1);
    ExpectReport(CKString('x', MAX) == "");
    ExpectReport(s.GetBuffer(-1) == s.c_str());
    ExpectReport(s.GetBuffer(MAX) == s.c_str());
    ExpectReport((s.GetBufferSetLength(0xffffffffu), s == "abc"));
    ExpectReport((s.ReleaseBuffer(4), s == "abc"));
    ExpectReport((s.ReleaseBuffer(-2), s == ""));
    ExpectReport((s.UnlockBuffer(), s.GetMetaData()->iRefs == 1));
    ExpectReport(((s.*FormatAnything)(nullptr), s == ""));
    ExpectReport(((s.*AppendFormatAnything)(nullptr), s == ""));
    s = oShared;
    ExpectReport((s.GetBufferSetLength(MAX), s.c_str() != oShared.c_str() && oShared == "abc"));
    ExpectReport((s = oShared, s.UnlockBuffer(), s.GetMetaData()->iRefs == 2));
}

TEST_F(StringTest, SplitsAtRunsOfDelimiters)
{
    const auto Split = [](CKString::CIterator itToken)
    {
        std::vector<std::string> aoTokens;
        for (; itToken != CKString().End(); ++itToken)
            aoTokens.emplace_back((*itToken).c_str());
        return aoTokens;
    };
    using Tokens = std::vector<std::string>;

    CKString oText("  a,,b ");
    EXPECT_EQ(Split(oText.Begin(" ,")), (Tokens{"a", "b"}));
    EXPECT_EQ(Split(oText.Begin("-")), (Tokens{"  a,,b "}));
    EXPECT_EQ(Split(oText.Begin(nullptr)), (Tokens{"  a,,b "}));
    EXPECT_EQ(Split(CKString(",,").Begin(",")), Tokens{});
    EXPECT_EQ(oText, "  a,,b ") << "the text itself stays whole";

    // Copies go on by themselves, wherever the other one went before.
    oText = "a b c d";
    CKString::CIterator itFirst = oText.Begin(" ");
    const CKString::CIterator itStart = itFirst++;
    CKString::CIterator itSecond = itStart;
    EXPECT_EQ(itSecond, itStart);
    EXPECT_NE(itSecond, itFirst);
    EXPECT_EQ(Split(itFirst), (Tokens{"b", "c", "d"}));
    EXPECT_EQ(Split(itSecond), (Tokens{"a", "b", "c", "d"}));
    EXPECT_EQ(++itSecond, itFirst);
    itSecond.Reset();
    EXPECT_EQ(++itSecond, oText.End());
    EXPECT_EQ(*itSecond, "");
}

TEST(Allocator, BaseOperationsReachTheInstalledOneOrTheHeap)
{
    CKAllocator oPlain;
    oPlain.Free(nullptr);
    oPlain.Free(oPlain.Alloc(8));
    CKAllocator::SetGlobalAllocator(&oPlain);
    CKString oText("on the heap, through an allocator that replaces nothing");
    oText.Empty();
    CKAllocator::SetGlobalAllocator(nullptr);

    CountingAllocator oCounting;
    void* pvBlock = oPlain.Alloc(8);
    EXPECT_EQ(oCounting.GetSize(pvBlock), 8u);
    oPlain.Free(pvBlock);
}
