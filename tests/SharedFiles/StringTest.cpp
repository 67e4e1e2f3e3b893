#include <cstring>
#include <cwchar>

#include "CountingAllocator.h"

// Every report comes from the containers' own files.
extern "C" void QelTools_Assert(KBOOL32 bCond, const KCHAR8* pszFilename, KINT32)
{
    EXPECT_TRUE(!bCond && std::strstr(pszFilename, "/QelMFCTypes") != nullptr) << pszFilename;
    ++g_iReports;
}

namespace
{
constexpr const KCHAR8* NO_TEXT = nullptr;
constexpr KINT32        MAX     = 2147483647;

// Without the compiler's look at the format, which would refuse some of these.
constexpr void (CKString::*FormatAnything)(const KCHAR8*, ...)       = &CKString::Format;
constexpr void (CKString::*AppendFormatAnything)(const KCHAR8*, ...) = &CKString::AppendFormat;

KINT32 Estimate(const KCHAR8* pszFormat, ...)
{
    va_list argList;
    va_start(argList, pszFormat);
    const KINT32 iLength = CKString::GetFormattedLength(pszFormat, argList);
    va_end(argList);
    return iLength;
}

struct StringTest : testing::Test
{
    CountingAllocator m_oAllocator;
};
}

TEST_F(StringTest, SearchesCountsAndExtracts)
{
    const CKString s("abcABCabc"), e;
    const KINT32 aaiRows[][2] = {
        {s.Find('b', 2), 7}, {s.Find('b', 9), -1}, {s.Find('\0'), -1}, {e.Find('a'), -1}, {s.Find("ca"), -1},
        {s.Find("abc", 1), 6}, {s.Find("", 9), 9}, {s.Find("", 10), -1}, {s.FindNoCase('a', 1), 3}, {s.FindNoCase('B'), 1},
        {s.FindNoCase("CaB"), 2}, {s.ReverseFind('b'), 7}, {s.ReverseFind('x'), -1}, {s.ReverseFindNoCase('C'), 8},
        {s.ReverseFindNoCase('c'), 8}, {s.CountOf('a'), 2}, {s.CountOfNoCase('a'), 3}, {s.CountOf('\0'), 0},
        {s.Left(0xffffffffu).GetLength(), 9}, {s.Left(-1).GetLength(), 0}, {s.CompareNoCase("ABCabcABC"), 0},
        {s.Left(9).c_str() == s.c_str(), 1}, {s.Right(10).c_str() == s.c_str(), 1}, {s[9], '\0'}, {e < s, 1},
    };
    for (const auto& [iActual, iExpected] : aaiRows)
        EXPECT_EQ(iActual, iExpected) << "row " << (&iActual - aaiRows[0]) / 2;
    EXPECT_EQ(s.Mid(7, 100) + s.Mid(-2, 2) + s.Mid(8), "bcabc");
    EXPECT_EQ("<" + CKString('x', 3u) + '>' + NO_TEXT + s.Left(1) + CKString('x', -1), "<xxx>a");
    EXPECT_EQ(CKString("\xe4z[").MakeUpper(), "\xe4Z[") << "ASCII letters only";
}

TEST_F(StringTest, ChangesAtTheEdges)
{
    CKString s("abcde");
    EXPECT_TRUE(s.Delete(1, 2) == 5 && s == "ade" && s.Delete(7) == 3 && s == "ade");
    EXPECT_TRUE(s.Delete(-1, 5) == 3 && s == "ade") << "five from before the start is more than there is";
    EXPECT_TRUE(s.Delete(-1, 2) == 3 && s == "e") << "the negative index does not cut the count";
    EXPECT_TRUE(s.Insert(-5, "<") == 2 && s.Insert(99, s.c_str()) == 4 && s.Insert(0, NO_TEXT) == 4);
    EXPECT_TRUE(s.Insert(99, '>') == 5 && s == "<e<e>") << s.c_str();
    EXPECT_EQ(CKString("--ab-").Trim("-").Trim(NO_TEXT).Trim(""), "ab");
    s.SetAt(4, '\0');
    EXPECT_EQ(s.TrimRight("<e").GetLength(), 5) << "a NUL inside is in no set";
    std::memset(s.GetBuffer(8), 'x', 9);
    s.ReleaseBuffer();
    EXPECT_EQ(s, "xxxxxxxx") << "without a terminator the measure ends with the buffer";
}

// Each has a text behind it, which counts 3 when the conversions took their own arguments from the list and no other.
TEST_F(StringTest, EstimatesByTable)
{
    const int    n = 0;
    const char   acNoEnd[3] = {'a', 'b', 'c'};
    const KINT32 aaiRows[][2] = {
        {3, Estimate("a%%b%s", "end")}, {2, Estimate("%c%s", 'x', "end")}, {5, Estimate("%5c%s", 'x', "end")},
        {6, Estimate("%hc%C%lc%s", 1, 1, 1, "end")}, {6, Estimate("%s%s", "abcdef", "end")},
        {1, Estimate("%s%s", "", "end")}, {6, Estimate("%s%s", NO_TEXT, "end")}, {6, Estimate("%ls%s", NO_TEXT, "end")},
        {10, Estimate("%10.3s%s", "abcdef", "end")}, {3, Estimate("%.3s%s", acNoEnd, "end")},
        {8, Estimate("%*.*s%s", 8, 2, "abcdef", "end")}, {9, Estimate("%*9s%s", 0, "a", "end")},
        {5, Estimate("%hs%hS%s", "ab", "abc", "end")}, {6, Estimate("%ls%S%lS%s", L"ab", L"abc", L"", "end")},
        {7 * 32, Estimate("%d%i%o%u%x%X%p%s", 1, 1, 1, 1, 1, 1, &n, "end")}, {34, Estimate("%#x%s", 1, "end")},
        {4 * 32, Estimate("%hd%ld%lld%llx%s", 1, 1L, 1LL, 1ULL, "end")}, {42, Estimate("%#-+0 40d%s", 1, "end")},
        {50, Estimate("%30.20d%s", 1, "end")}, {4 * 128, Estimate("%e%E%g%G%s", 1., 1., 1., 1., "end")},
        {200, Estimate("%100.100e%s", 1., "end")}, {314, Estimate("%.2f%s", 1., "end")}, {312, Estimate("%500f%s", 1., "end")},
        {312 + 5 * 32, Estimate("%Lf%Nd%Fd%d%d%d%s", 1.L, 1, 1, 1, 1, 1, "end")}, {0, Estimate("%n%s", &n, "end")},
    };
    for (const auto& [iExpected, iActual] : aaiRows)
        EXPECT_EQ(iActual, iExpected + 3) << "row " << (&iExpected - aaiRows[0]) / 2;
    ExpectReports({});
    ExpectReports({Estimate("a%") == 1, Estimate("%y%s", "end") == 3, Estimate("%lls") == 0, Estimate("%llc") == 0,
                   Estimate("%*d%s", -50, 1, "end") == 32 + 3, Estimate("%.*s%s", -1, "abc", "end") == 3 + 3,
                   Estimate("%2147483647c%2147483647c", 1, 1) == MAX, Estimate(nullptr) == 0});
}

// A wide character that has no form in the locale fails both attempts, a format that breaks off as well.
TEST_F(StringTest, SurvivesAFormatterThatFails)
{
    CKString s("0123456789");
    const CKString oShared(s);
    ExpectReports({(s.AppendFormat("more %ls", L"\x20ac"), s == "0123456789")});
    EXPECT_EQ(s.GetAllocLength(), 20) << "doubled: more than the estimate needs";
    ExpectReports({(s.AppendFormat("%45lc", wint_t{0x20ac}), s == "0123456789")});
    EXPECT_EQ(s.GetAllocLength(), 56) << "more than doubled: the estimate and one";
    s = oShared;
    ExpectReports({(s.Format("more %12ls", L"\x20ac"), s == "")});
    EXPECT_EQ(s.GetAllocLength(), 5 + 12 + 1) << "the estimate and one";
    (s.*FormatAnything)("abc%");
    ExpectReports({s == "" /* the conversion */, oShared == "0123456789" /* and the second attempt */});
}

TEST_F(StringTest, ReportsBrokenContractsAndStaysInside)
{
    CKString s("abc");
    const CKString oShared(s);
    ExpectReports({s.Mid(5, 1) == "", s.Mid(0x80000000u) == "", (s.SetAt(3, 'x'), s.SetAt(0, 'a'), s == "abc"),
                   s.GetAt(4) == '\0', s.Find('b', -1) == 1 && s.GetAt(3) == '\0', s.Find("b", -1) == 1,
                   s.Find(NO_TEXT) == -1, s.FindNoCase(NO_TEXT) == -1, CKString('x', MAX) == ""});
    ExpectReports({s.GetBuffer(-1) == s.c_str(), s.GetBuffer(MAX) == s.c_str(),
                   (s.GetBufferSetLength(0xffffffffu), s == "abc"), (s.ReleaseBuffer(4), s == "abc"),
                   (s.ReleaseBuffer(-2), s == ""), (s.UnlockBuffer(), s.GetMetaData()->iRefs == 1),
                   ((s.*FormatAnything)(nullptr), s == ""), ((s.*AppendFormatAnything)(nullptr), s == "")});
    s = oShared;
    ExpectReports({(s.GetBufferSetLength(MAX), s.c_str() != oShared.c_str() && oShared == "abc"),
                   (s = oShared, s.UnlockBuffer(), s.GetMetaData()->iRefs == 2)});
}

TEST_F(StringTest, SplitsAtRunsOfDelimiters)
{
    const auto Split = [](CKString::CIterator itToken)
    {
        CKString oTokens;
        for (; itToken != CKString().End(); ++itToken)
            oTokens += *itToken + '|';
        return oTokens;
    };
    CKString oText("  a,,b ");
    EXPECT_EQ(Split(oText.Begin(" ,")) + Split(oText.Begin(nullptr)) + Split(CKString(",,").Begin(",")), "a|b|  a,,b |");
    EXPECT_EQ(oText, "  a,,b ") << "the text itself stays whole";

    // A copy goes on by itself, wherever the other one went before.
    oText = "a b c d";
    CKString::CIterator itFirst = oText.Begin(" ");
    CKString::CIterator itSecond = itFirst++;
    EXPECT_TRUE(itSecond == oText.Begin(" ") && itSecond != itFirst);
    EXPECT_EQ(Split(itFirst) + Split(itSecond), "b|c|d|a|b|c|d|");
    EXPECT_EQ(++itSecond, itFirst);
    itSecond.Reset();
    EXPECT_TRUE(++itSecond == oText.End() && *itSecond == "");

    const auto Second = [](const CKString& roText, const KCHAR8* pszSet) { return ++roText.Begin(pszSet); };
    const auto itB    = Second("a b c", " ");
    EXPECT_TRUE(itB == Second("a b c", " ") && itB != Second("a b c", " -")) << "the delimiters";
    EXPECT_TRUE(itB != Second("x b c", " ") && itB != Second("a x c", " ")) << "the text, the token";
    EXPECT_NE(itB, Second("a b x", " ")) << "what is left";
}

TEST(Allocator, BaseOperationsReachTheInstalledOneOrTheHeap)
{
    CKAllocator oPlain;
    oPlain.Free(nullptr);
    oPlain.Free(oPlain.Alloc(8));
    CKAllocator::SetGlobalAllocator(&oPlain);
    CKString("on the heap, through an allocator that replaces nothing").Empty();
    CountingAllocator oCounting;
    void* pvBlock = oPlain.Alloc(8);
    EXPECT_EQ(oCounting.GetSize(pvBlock), 8u);
    oPlain.Free(pvBlock);
}
