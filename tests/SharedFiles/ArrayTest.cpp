#include "CountingAllocator.h"

namespace
{
using Record = std::array<KUINT32, 3>;

// Random sequences against a vector. The caller makes the n-th of a few values; the first is what raw storage becomes.
template <class T, class VALUE> void RunBesideAVector(VALUE Value)
{
    CountingAllocator oAllocator;
    std::mt19937      oRandom(7);
    CKArray<T>        a, oOther;
    std::vector<T>    m;
    for (KUINT32 n : {1u, 3u, 5u, 3u}) oOther.Add(Value(n));

    const auto Unique = [&m] {
        for (auto it = m.begin(); it != m.end();) it = std::find(m.begin(), it, *it) != it ? m.erase(it) : it + 1;
    };
    size_t uiSize = 0, uiAt = 0, uiOwn = 0;  // of a step: the size before it, and two places
    int    iAt = 0, iOwn = 0;                // the same places
    T      oNew = Value(0), oZero = Value(0);
#define ACT(array, vector)     \
    {                          \
#array, [&] { array; vector; } \
    }
    // clang-format off
    const std::pair<const char*, std::function<void()>> aoActions[] = {
        // what is done to the array, which is also the name, and the same for the vector
        ACT(a.SetSize(iOwn), m.resize(uiOwn)),
        ACT(a.SetCount(a.GetCount() + 1), m.resize(uiSize + 1, oZero)),
        ACT(a.Add(oNew), m.push_back(oNew)),
        ACT(if (uiSize > 0) a.Add(a[iOwn]), if (uiSize > 0) m.push_back(T(m[uiOwn]))),
        ACT(a.SetAtGrow(a.GetSize() + 3, oNew), m.resize(uiSize + 3, oZero); m.push_back(oNew)),
        ACT(if (uiSize > 0) a.SetAt(iOwn, oNew), if (uiSize > 0) m[uiOwn] = oNew),
        ACT(a.InsertAt(iAt, oNew, 2), m.insert(m.begin() + iAt, 2, oNew)),
        ACT(if (uiSize > 0) a.InsertAt(iAt, a[0u]), if (uiSize > 0) m.insert(m.begin() + iAt, T(m[0]))),
        ACT(if (iAt < a.GetSize()) a.RemoveAt(iAt), if (uiAt < uiSize) m.erase(m.begin() + iAt)),
        ACT(a.RemoveAt(iAt, 3), m.erase(m.begin() + iAt, uiSize - uiAt > 3 ? m.begin() + iAt + 3 : m.end())),
        ACT(a.FreeExtra(), EXPECT_EQ(a.GetAllocCount(), uiSize)),
        ACT(a |= oOther, m.insert(m.end(), oOther.Begin(), oOther.End()); Unique()),
        ACT(a &= oOther, Unique(); std::erase_if(m, [&](const T& ro) { return oOther.Find(ro) == -1; })),
        ACT(a.Append(a), m.reserve(2 * uiSize); std::copy_n(m.data(), uiSize, std::back_inserter(m))),
        ACT(a.SortElements(), std::sort(m.begin(), m.end())),
        ACT(const CKArray<T> c(a); EXPECT_NE(a != oOther, a == oOther); a = oOther; EXPECT_TRUE(a == oOther); a = c; a = std::as_const(a), ),
        ACT(const bool bNew = std::ranges::find(m, oNew) == m.end(); EXPECT_EQ(a.AddIfNotPresent(oNew), bNew), if (bNew) m.push_back(oNew)),
    };  // clang-format on
    for (int iStep = 0; iStep < 20000 && !testing::Test::HasFailure(); ++iStep)
    {
        uiSize = m.size(), uiAt = oRandom() % (uiSize + 1), uiOwn = uiAt / 2;
        iAt = static_cast<int>(uiAt), iOwn = iAt / 2;
        oNew                        = Value(static_cast<KUINT32>(oRandom() % 6));
        const auto& [pszName, fAct] = aoActions[uiSize > 60 ? 0 : oRandom() % std::size(aoActions)];
        fAct();
        SCOPED_TRACE(testing::Message() << "step " << iStep << ": " << pszName);
        ASSERT_EQ(std::pair(a.GetUpperBound() + 1, a.GetUpperBoundU() + 1), std::pair(a.GetSize(), a.GetCount()));
        const T* const poData = std::as_const(a).GetData();
        ASSERT_TRUE(std::equal(m.begin(), m.end(), poData, poData + a.GetCount()));
        const auto itFound = std::find(m.begin(), m.end(), oNew);
        EXPECT_EQ(a.Find(oNew), itFound == m.end() ? -1 : itFound - m.begin());
        EXPECT_EQ(std::tuple(oAllocator.GetSize(a.GetData()), a.GetData() == nullptr, a.IsEmpty()),
                  std::tuple(a.GetAllocCount() * sizeof(T), a.GetAllocCount() == 0, m.empty()));
    }
}
}

TEST(Array, HoldsWhatAVectorHolds)
{
    static int s_aiTargets[6];
    RunBesideAVector<Record>([](KUINT32 n) { return Record{n, 0, 2 * n}; });
    RunBesideAVector<unsigned short>([](KUINT32 n) { return static_cast<unsigned short>(n); });
    RunBesideAVector<int*>([](KUINT32 n) { return n == 0 ? nullptr : s_aiTargets + n; });
    RunBesideAVector<CKString>([](KUINT32 n) { return CKString('x', n); });
}

// Sizes that an array is set to in turn, each with a step and the storage that must be there then. Size 0 begins anew.
TEST(Array, GrowsByTheStoredStep)
{
    const std::tuple<int, int, int> aoRows[] = {
        {100, -1, 100},    {101, -1, 112}, {113, -1, 124},     {0, 0, 0},         {1, -1, 1},       {2, -1, 5},
        {5, -1, 5},        {6, -1, 9},     {10, -1, 13},       {0, 0, 0},         {8191, -1, 8191}, {8192, -1, 9214},
        {9215, -1, 10237}, {0, 0, 0},      {9000, -1, 9000},   {9001, -1, 10024}, {0, 0, 0},        {3, 10, 3},
        {4, -1, 13},       {14, 2, 15},    {16, -1, 17},       {0, 0, 0},         {8, 100, 8},      {9, -1, 108},
        {100, 0, 108},     {109, -1, 120}, {0, 2147483647, 0}, {3, -1, 3},        {4, -1, 4},       {0, -1, 0},
        {3, -1, 3},        {2, -1, 3}};
    CKArray<Record> o;
    for (const auto& [iSize, iGrowBy, iCapacity] : aoRows)
    {
        iGrowBy != -1 ? o.SetSize(iSize, iGrowBy) : o.SetCount(static_cast<KUINT32>(iSize));
        EXPECT_EQ(o.GetAllocSize(), iCapacity) << "size " << iSize;
    }
    o.SetSize(2, 10), o.RemoveAll(), o.Add({}), o.Add({}), o.InsertAt(11, {}), o.SetSize(13), o.Append(o);
    EXPECT_EQ(std::pair(o.GetSize(), o.GetAllocSize()), std::pair(26, 31)) << "all grow by the step";
}

TEST(Array, ADerivedArrayReplacesTheGrowth)
{
    struct DoublingArray : CKArray<CKString>
    {
        void SetSize(int nNewSize, int) override
        {
            CKArray::SetSize(std::min(nNewSize, 32), std::max(GetAllocSize(), 1));  // and no more
        }
    } oArray;
    for (int i = 0; i < 20; ++i) oArray.SetAtGrow(oArray.GetCount(), "text");
    EXPECT_EQ((std::pair{oArray.Append(oArray), std::count(oArray.Begin(), oArray.End(), "text")}), std::pair(20, 32l));
    EXPECT_EQ(oArray.Add("more"), -1);
    oArray.InsertAt(3, "more"), oArray.SetCount(33, -1);
    EXPECT_EQ(std::tuple(oArray.GetAllocSize(), oArray.GetSize(), oArray.IsPresent("more")), std::tuple(32, 32, FALSE));
}

TEST(Array, ReportsBrokenContractsAndStaysInside)
{
    constexpr int     MAX = 2147483647;
    CountingAllocator oAllocator;  // sees that nothing is left of what is written outside, either
    CKArray<CKString> oArray;
    oArray.Add("only");
    ExpectReports({(oArray.InsertAt(9, "x", 0), oArray.RemoveAt(1, 0), oArray.SetSize(-1), oArray.GetSize() == 1),
                   (oArray.SetSize(MAX), oArray.GetSize() == 1), (oArray.SetAtGrow(-1, "x"), oArray.GetSize() == 1),
                   (oArray.SetAtGrow(MAX, "x"), oArray.GetSize() == 1), (oArray.InsertAt(-1, "x"), oArray.GetSize() == 1),
                   (oArray.InsertAt(1, "x", MAX), oArray.GetSize() == 1), (oArray.RemoveAt(2), oArray.GetSize() == 1),
                   (oArray.SetAt(1, "x"), oArray[0] == "only"), oArray[0xffffffffu] == "", (oArray[-1] = 'x') == "x",
                   oArray[0xffffffffu] == "", (oArray[1] = "gone with the array", true)});
    ExpectReports({(KConstructElements<CKString>(nullptr, 1), true), (KDestructElements<CKString>(nullptr, 1), true),
                   (KConstructElements<int>(nullptr, 1), true), (KDestructElements<int>(nullptr, 1), true)});
}

TEST(ArrayString, SplitsAndJoins)
{
    CountingAllocator oAllocator;
    CKArrayString     oWords;
    EXPECT_TRUE(oWords.Join("-") == "" && oWords.InitFromString(" two  words ", " ") == 2);
    EXPECT_EQ(oWords.InitFromString("two words", " "), 4) << "the second call adds";
    EXPECT_TRUE(oWords.Join(nullptr) == "twowordstwowords" && oWords.InitFromString(nullptr, " ") == 4);
    EXPECT_EQ(oWords.InitFromString(oWords[3], oWords[0]), 5) << "its own texts: words without t, w and o";
    EXPECT_EQ(oWords.Join(", "), "two, words, two, words, rds");
}

TEST(Plex, ChainsBlocksAndReturnsThem)
{
    CountingAllocator oAllocator;
    CKPlex*           poHead   = nullptr;
    CKPlex* const     poFirst  = CKPlex::Create(poHead, 3, 5);
    CKPlex* const     poSecond = CKPlex::Create(poHead, 1, 1);
    EXPECT_TRUE(poHead == poSecond && poHead->m_poNext == poFirst && poFirst->m_poNext == nullptr && TakeReports() == 0);
    EXPECT_EQ(oAllocator.GetSize(poFirst), sizeof(CKPlex) + 15);
    std::memset(poFirst->GetData(), 'x', 15);
    ExpectReports({CKPlex::Create(poHead, 0, 5) == nullptr, CKPlex::Create(poHead, 5, 0) == nullptr});
    EXPECT_EQ(poHead, poSecond);
    poHead->FreeDataChain();
}
