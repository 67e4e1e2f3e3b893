#include <numeric>

#include "QelCheck.h"
#include "QelTools.h"
#include "Support.h"

static std::string s_sAssertCalls;

TEST(Messages, LinesFollowTheState)
{
    const auto fnWrite = [](const std::string& s) {
        const auto fnAll = [&](auto... pfn) { return (pfn("%s\n", s.c_str()), ...); };
        return OutputOf([&] { fnAll(OsServices::WriteMsg, OsServices::WriteUserMsg, OsServices::WriteErrorMsg); });
    };
    EXPECT_EQ(fnWrite("%d"), "vesk(4.12.0.16)[0]: (Info) %d\nvesk(4.12.0.16)[0]: (Error) %d\n");
    OsServices::SetMsgPrefix(("%n" + std::string(99, 'p')).c_str()), OsServices::SetMsgReferenceId(~0ull);
    const std::string sPrefix = "%n" + std::string(61, 'p') + "(4.12.0.16)[18446744073709551615]: (Debug) ";
    for (const size_t uiLength : {0u, 146u, 147u, 148u, 254u, 255u, 300u})
    {
        const std::string sArgument(uiLength, 'x');
        OsServices::SetMsgLevel(FALSE, FALSE, -2);
        EXPECT_EQ(fnWrite(sArgument), (sPrefix + sArgument + "\n").substr(0, 255));
        OsServices::SetMsgPrefixEnable(FALSE), OsServices::SetMsgLevel(3, 4, 5);
        const std::string sCut = (sArgument + "\n").substr(0, 255);
        EXPECT_EQ(fnWrite(sArgument), sCut + sCut + sCut);
        OsServices::SetMsgPrefixEnable(TRUE);
    }
    KBOOL32 bError = 9, bUser = 9, bInfo = 9;
    OsServices::GetMsgLevel(&bError, nullptr, &bInfo), OsServices::GetMsgLevel(nullptr, &bUser, nullptr);
    EXPECT_EQ(std::tuple(bError, bUser, bInfo), std::tuple(3, 4, 5));
    OsServices::SetMsgLevel(TRUE, TRUE, FALSE), OsServices::SetMsgReferenceId(0), OsServices::SetMsgPrefix("vesk");
}

TEST(Messages, FailedChecksAreReportedAndOnlyTheAbortFormEndsTheFunction)
{
    int         iSteps = 0;
    std::string sText  = OutputOf([&] {
        for (;; ++iSteps)
        {
            QEL_ASSERT(iSteps != 1);
            QEL_CHECK_OR_ABORT(iSteps < 3);
        }
    Qel_Abort:
        return;
    });
    const std::string sLine = "vesk(#.#.#.#)[#]: (Error) MessagesTest.cpp(#) Assertion failed\n";
    EXPECT_EQ(std::pair(WithoutNumbers(sText), iSteps), std::pair(sLine + sLine, 3));
    EXPECT_EQ(WithoutNumbers(s_sAssertCalls), WithoutNumbers("0" __FILE__ "1" __FILE__ "1")) << "a line, the next condition";
    const std::pair<const char*, const char*> aoNames[] = {
        {"a/b\\c.cpp", "c.cpp"}, {"a\\b/c", "c"}, {"c", "c"}, {"/c", "/c"}, {"//c", "c"}, {"a/", ""}, {"/", "/"}, {"", ""}};
    for (const auto& [pszPath, pszName] : aoNames)
        EXPECT_STREQ(OsServices::GetFileNameOnlySubSring(pszPath), pszName) << pszPath;
}

// The instance of the process makes room here, so that a first one can be watched.
TEST(Messages, FirstInstanceStartsTheLibraryUnlessItIsATest)
{
    FailNext("InitQELLibrary");
    EXPECT_TRUE(OsServices(nullptr).IsInitialized() && !HasFailed()) << "a second instance does not start it";
    g_oOsServices.~OsServices();
    OsServices::SetTestMode(TRUE);
    EXPECT_TRUE(OsServices(nullptr).IsInitialized() && !HasFailed());
    OsServices::SetTestMode(FALSE);
    for (int i = 0; i < 2; ++i, FailNext("InitQELLibrary"))  // an instance that was not counted is not counted down
        EXPECT_EQ(WithoutNumbers(OutputOf([] { EXPECT_FALSE(OsServices(nullptr).IsInitialized()); })),
                  "vesk(#.#.#.#)[#]: (Error) OsServices.cpp(#) Assertion failed\n");
    FailNext(nullptr);
    EXPECT_TRUE((new (&g_oOsServices) OsServices(nullptr))->IsInitialized());
}

TEST(QelTools, IntegerFunctionsMatchTheirDefinitionsAtTheEdges)
{
    const KUINT32 auiValues[] = {0,      1,      2,          3,          5,          7,          8,          24,        25,
                                 65'535, 65'536, 0x7FFFFFFF, 0x80000000, 0xFFFE0000, 0xFFFE0001, 0xFFFFFFFE, 0xFFFFFFFF};
    for (const KUINT64 a : auiValues)
        for (const KUINT64 b : auiValues)
        {
            const auto    uiA = static_cast<KUINT32>(a), uiB = static_cast<KUINT32>(b);
            const KUINT64 uiRoot = QelTools_SquareRoot(uiA);
            EXPECT_TRUE(uiRoot * uiRoot <= a && a < (uiRoot + 1) * (uiRoot + 1)) << a;
            EXPECT_EQ(QelTools_RoundedDivision(uiA, uiB), b == 0 ? 0 : (2 * a + b) / (2 * b)) << a << " by " << b;
            EXPECT_EQ(QelTools_RoundedDownDivision(uiA, uiB), b == 0 ? 0 : a / b) << a << " by " << b;
            EXPECT_EQ(QelTools_RoundedUpDivision(uiA, uiB), b == 0 ? 0 : (a + b - 1) / b) << a << " by " << b;
            EXPECT_EQ(QelTools_GCD(uiA, uiB), std::gcd(a, b)) << a << " and " << b;
        }
}

TEST(QelTools, TextsAreComparedReadAndChangedWithinTheirBounds)
{
    const std::tuple<const char*, const char*, KINT32> aoPairs[] = {{"abC", "ABc", 0}, {"a", "B", -1}, {"ab", "A", 98},
                                                                    {"", "a", -97},    {"[", "a", -6}, {"\xE9", "a", -120}};
    for (const auto& [pszA, pszB, iResult] : aoPairs)
        EXPECT_EQ(QelTools_stricmp(pszA, pszB), iResult) << pszA << " and " << pszB;
    EXPECT_EQ(std::tuple(QelTools_atoi(" \t-7x"), QelTools_atoi("+3"), QelTools_atoi("0x10")), std::tuple(-7, 3, 0));
    EXPECT_EQ((std::array{QelTools_memcmp("ab", "aB", 1), QelTools_strncmp("ab", "aB", 1), QelTools_wcslen(L"ab")}),
              (std::array{0, 0, 2}));
    EXPECT_GT(std::min({QelTools_memcmp("ab", "aB", 2), QelTools_strncmp("ab", "aB", 2), QelTools_strcmp("b", "aB")}), 0);
    EXPECT_STREQ(QelTools_strstr("abacad", "ac"), QelTools_strrchr("_abac_acad", '_') + 1);
    char acWords[] = ";a;bc_", *pszRest = nullptr;
    EXPECT_STREQ(QelTools_strchr(QelTools_strtok_s(acWords, ";", &pszRest), 'a'), "a");
    EXPECT_STREQ((QelTools_memmove(acWords + 4, acWords + 3, 2), pszRest), "bbc");
    EXPECT_EQ(std::pair(QelTools_atoi("4294967298"), QelTools_atoi("99999999999999999999")), std::pair(2, -1));
    for (KINT32 ch = -1; ch < 256; ++ch) EXPECT_EQ(QelTools_isDigit(ch), ch >= '0' && ch <= '9' ? 2048 : 0);
    for (KUINT32 uiSize = 0; uiSize < 7; ++uiSize)
    {
        std::string sUpper = "aZ{@\xE9z", sLower = sUpper;
        EXPECT_EQ(QelTools_strupr_s(sUpper.data(), uiSize),
                  (uiSize > 0 ? "AZ{@\xE9" : "aZ{@\xE9") + std::string(uiSize > 5 ? "Z" : "z"));
        EXPECT_EQ(QelTools_strlwr_s(sLower.data(), uiSize), std::string(uiSize > 1 ? "az{@\xE9z" : "aZ{@\xE9z"));
    }
    ExpectCut("%d7", [](char* pch, KUINT32 uiSize) { QelTools_strcpy_s(pch, uiSize, "%d7"); });
    for (const std::string sText : {"", "a", "ab", "abc"})
        EXPECT_EQ(QelTools_strrev(std::string(sText).data()), std::string(sText.rbegin(), sText.rend()));
}

// In place of the library's own, which does nothing.
void QelTools_Assert(KBOOL32 bCond, const KCHAR8* pszFilename, KINT32 iLine)
{
    s_sAssertCalls.append(std::to_string(bCond)).append(pszFilename).append(std::to_string(iLine));
}
