#include <cwchar>

#include "CountingAllocator.h"

#pragma GCC diagnostic ignored "-Wformat"  // some formats here are broken on purpose

// Every report comes from the containers' own files.
extern "C" void QelTools_Assert(KBOOL32 bCond, const KCHAR8* pszFilename, KINT32)
{
    EXPECT_TRUE(!bCond && std::strstr(pszFilename, "/QelMFCTypes") != nullptr) << pszFilename;
    ++g_iReports;
}

namespace
{
constexpr const KCHAR8* NO_TEXT = nullptr;
constexpr const KCHAR8* E       = "end";
constexpr KINT32        MAX     = 2147483647;

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

TEST_F(StringTest, ExtractsAndChangesAtTheEdges)
{
    const CKString c("abcABCabc");
    EXPECT_TRUE(c.Left(9).c_str() == c.c_str() && c.Left(-1) == "" && c.Left(0xffffffffu) == c);
    EXPECT_TRUE(c.CompareNoCase("ABCabcABC") == 0 && c.CompareNoCase("abB") > 0 && c.Compare("b") < 0 && c[9] == '\0');
    EXPECT_TRUE(c < CKString("abcABCabca") && "abcABC" < c && c >= NO_TEXT && "b" > c && "abcABCabc" <= c && c != "abc");
    EXPECT_EQ('<' + ("x" + CKString('x', 2u)) + '>' + NO_TEXT + c.Mid(7) + c.Mid(-2, 2) + CKString('x', -1), "<xxx>bcab");
    for (int i = -128; i < 128; ++i)  // the locale knows ASCII letters only
        EXPECT_EQ(std::pair(CKString::ToUpper(KCHAR8(i)), CKString::ToLower(KCHAR8(i))),
                  std::pair(KCHAR8(std::toupper(KUINT8(i))), KCHAR8(std::tolower(KUINT8(i)))));

    CKString s("abcde");
    EXPECT_EQ((std::tuple{s.Delete(1, 2), CKString(s), s.Delete(7), CKString(s)}), std::tuple(5, "ade", 3, "ade"));
    EXPECT_EQ((std::tuple{s.Delete(-1, 5), CKString(s)}), std::tuple(3, "ade")) << "five from before the start are too many";
    EXPECT_EQ((std::tuple{s.Delete(-1, 2), CKString(s)}), std::tuple(3, "e")) << "the negative index does not cut the count";
    EXPECT_EQ((std::tuple{s.Insert(-5, "<"), s.Insert(99, s.c_str()), s.Insert(0, NO_TEXT)}), std::tuple(2, 4, 4));
    EXPECT_EQ((std::tuple{s.Insert(99, '>'), CKString(s)}), std::tuple(5, "<e<e>"));
    CKString oTrimmed("--ab-");
    EXPECT_EQ(oTrimmed.Trim("-").Trim(NO_TEXT).Trim("").Trim("-"), "ab");
    EXPECT_TRUE(oTrimmed.Trim(oTrimmed.c_str() + 1) == "a" && CKString().Trim(CKString().c_str()) == "") << "its own text";
    s.SetAt(4, '\0');
    EXPECT_EQ(s.TrimRight("<e").GetLength(), 5) << "a NUL inside is in no set";
    std::memset(s.GetBuffer(8), 'x', 9), s.ReleaseBuffer();
    EXPECT_EQ(s, "xxxxxxxx") << "without a terminator the measure ends with the buffer";
}

// Each has a text (E) behind it, which counts 3 when the conversions took their own arguments from the list and no other.
TEST_F(StringTest, EstimatesByTable)
{
    const int    n            = 0;
    const char   acNoEnd[3]   = {'a', 'b', 'c'};
    const KINT32 aaiRows[][2] = {
        // clang-format off
        {3, Estimate("a%%b%s", E)},                {2, Estimate("%c%s", 'x', E)},       {5, Estimate("%5c%s", 'x', E)},
        {6, Estimate("%hc%C%lc%s", 1, 1, 1, E)},   {6, Estimate("%s%s", "abcdef", E)},  {1, Estimate("%s%s", "", E)},
        {6, Estimate("%s%s", NO_TEXT, E)},         {6, Estimate("%ls%s", NO_TEXT, E)},  {3, Estimate("%.3s%s", acNoEnd, E)},
        {10, Estimate("%10.3s%s", "abcdef", E)},   {9, Estimate("%*9s%s", 0, "a", E)},  {0, Estimate("%n%s", &n, E)},
        {5 + 6, Estimate("%hs%hS%ls%S%lS%s", "ab", "abc", L"ab", L"abc", L"", E)},      {34, Estimate("%#x%s", 1, E)},
        {7 * 32, Estimate("%d%i%o%u%x%X%p%s", 1, 1, 1, 1, 1, 1, &n, E)},               {42, Estimate("%#-+0 40d%s", 1, E)},
        {4 * 32, Estimate("%hd%ld%lld%llx%s", 1, 1L, 1LL, 1ULL, E)},                    {50, Estimate("%30.20d%s", 1, E)},
        {4 * 128, Estimate("%e%E%g%G%s", 1., 1., 1., 1., E)},                          {200, Estimate("%100.100e%s", 1., E)},
        {312 + 5 * 32, Estimate("%Lf%Nd%Fd%d%d%d%s", 1.L, 1, 1, 1, 1, 1, E)},           {314, Estimate("%.2f%s", 1., E)},
        {3 * 32, Estimate("%zu%jd%td%s", size_t{1}, intmax_t{1}, ptrdiff_t{1}, E)},     {312, Estimate("%500f%s", 1., E)},
        {8, Estimate("%*.*s%s", 8, 2, "abcdef", E)},   {MAX - 3, Estimate("%2147483644c%s", 1, E)},
        {68, Estimate("%dlx%dhx%s", 1, 1, E)},
        // clang-format on
    };
    for (const auto& [iExpected, iActual] : aaiRows)
        EXPECT_EQ(iActual, iExpected + 3) << "row " << (&iExpected - aaiRows[0]) / 2;
    ExpectReports({Estimate("a%") == 1, Estimate("%y%s", E) == 3, Estimate("%lls") == 0, Estimate("%llc") == 0,
                   Estimate("%lln") == 0, Estimate("%*d%s", -50, 1, E) == 32 + 3, Estimate("%.*s%s", -1, "abc", E) == 3 + 3,
                   Estimate("%2147483647c%2147483647c", 1, 1) == MAX, Estimate(nullptr) == 0});
}

// A wide character that has no form in the locale fails both attempts, a format that breaks off as well.
TEST_F(StringTest, SurvivesAFormatterThatFails)
{
    CKString       s("0123456789");
    const CKString oShared(s);
    ExpectReports({(s.AppendFormat("more %ls", L"\x20ac"), s == "0123456789")});
    EXPECT_EQ(s.GetAllocLength(), 20) << "doubled: more than the estimate needs";
    ExpectReports({(s.AppendFormat("%45lc", wint_t{0x20ac}), s == "0123456789")});
    EXPECT_EQ(s.GetAllocLength(), 56) << "more than doubled: the estimate and one";
    ExpectReports({(s.AppendFormat("%"), s == oShared)});  // only the conversion: nothing is tried again
    ExpectReports({(s.AppendFormat("a%"), s == oShared), s.GetAllocLength() == 112});
    s = oShared;
    ExpectReports({(s.Format("more %12ls", L"\x20ac"), s == "")});
    EXPECT_EQ(s.GetAllocLength(), 5 + 12 + 1) << "the estimate and one";
    s.Format("abc%");
    ExpectReports({s == "" /* the conversion */, oShared == "0123456789" /* and the second attempt */});
}

TEST_F(StringTest, ReportsBrokenContractsAndStaysInside)
{
    CKString       s("abc");
    const CKString oShared(s);
    CKString       oNoText("xyz");
    oNoText.GetBufferSetLength(0);
    ExpectReports(
        {oNoText.Mid(1, 0).c_str() != oNoText.c_str(), s.Mid(5, 1) == "", s.Mid(0x80000000u) == "",
         (s.SetAt(3, 'x'), s.SetAt(0, 'a'), s == "abc"), s.GetAt(4) == '\0', s.Find('b', -1) == 1 && s.GetAt(3) == '\0',
         s.Find("b", -1) == 1, s.Find(NO_TEXT) == -1, s.FindNoCase(NO_TEXT) == -1, CKString('x', MAX) == "",
         s.GetBuffer(-1) == s.c_str(), s.GetBuffer(MAX) == s.c_str(), (s.GetBufferSetLength(0xffffffffu), s == "abc"),
         (s.ReleaseBuffer(4), s == "abc"), (s.ReleaseBuffer(-2), s == ""), (s.UnlockBuffer(), s.GetMetaData()->iRefs == 1),
         (s.Format(nullptr), s == ""), (s.AppendFormat(nullptr), s == "")});
    s = oShared;
    ExpectReports({(s.GetBufferSetLength(MAX), s.c_str() != oShared.c_str() && oShared == "abc"),
                   (s = oShared, s.UnlockBuffer(), s.GetMetaData()->iRefs == 2)});
}

TEST_F(StringTest, SplitsAtRunsOfDelimiters)
{
    const auto Split = [](CKString::CIterator itToken) {
        CKString oTokens;
        for (; itToken != CKString().End(); ++itToken) oTokens += *itToken + '|';
        return oTokens;
    };
    const CKString oText("  a,,b ");
    EXPECT_EQ(Split(oText.Begin(" ,")) + Split(oText.Begin(nullptr)) + Split(CKString(",,").Begin(",")), "a|b|  a,,b |");
    EXPECT_EQ(oText, "  a,,b ") << "the text itself stays whole";

    const CKString      oFour("a b c d");
    CKString::CIterator itFirst = oText.Begin(","), itSecond = (itFirst = oFour.Begin(" "))++;
    EXPECT_TRUE(itSecond == oFour.Begin(" ") && itSecond != itFirst);
    EXPECT_EQ(Split(itFirst = std::as_const(itFirst)) + Split(itSecond), "b|c|d|a|b|c|d|") << "a copy goes on by itself";
    EXPECT_EQ(++itSecond, itFirst);
    itSecond.Reset();
    EXPECT_TRUE(++itSecond == oFour.End() && *itSecond == "");
    for (const auto& [pszText, pszSet] : {std::pair("a b c", " -"), {"x b c", " "}, {"a x c", " "}, {"a b x", " "}})
        EXPECT_NE(++CKString(pszText).Begin(pszSet), ++CKString("a b c").Begin(" ")) << pszText << pszSet;
}

TEST(Allocator, BaseOperationsReachTheInstalledOneOrTheHeap)
{
    CKAllocator oPlain;
    oPlain.Free(nullptr), oPlain.Free(oPlain.Alloc(8));
    CKAllocator::SetGlobalAllocator(&oPlain);
    CKString("on the heap, through an allocator that replaces nothing").Empty();
    CountingAllocator oCounting;
    void*             pvBlock = oPlain.Alloc(8);
    EXPECT_EQ(oCounting.GetSize(pvBlock), 8u);
    oPlain.Free(pvBlock);
}
