#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "CountingAllocator.h"

namespace
{
struct SRecord
{
    KUINT32 uiA;
    KUINT32 uiB;
    KUINT32 uiC;

    auto operator<=>(const SRecord&) const = default;
};

// The n-th of a few values of a type; 0 is what an array makes of raw storage.
template <class T>
T Value(KUINT32 n)
{
    static int s_aiTargets[8];
    if constexpr (std::is_same_v<T, SRecord>)
        return {n, n + (n != 0), 2 * n};
    else if constexpr (std::is_same_v<T, CKString>)
        return CKString('x', n);
    else if constexpr (std::is_pointer_v<T>)
        return n == 0 ? nullptr : s_aiTargets + n;
    else
        return static_cast<T>(n);
}

template <class T>
class ArrayModel : public testing::Test
{
};
using ElementTypes = testing::Types<SRecord, unsigned short, int*, CKString>;
TYPED_TEST_SUITE(ArrayModel, ElementTypes);

// Removes what was there before, as the arrays do.
template <class T>
void RemoveDuplicates(std::vector<T>& roModel)
{
    std::vector<T> oSeen;
    for (const T& roValue : roModel)
    {
        if (std::find(oSeen.begin(), oSeen.end(), roValue) == oSeen.end())
            oSeen.push_back(roValue);
    }
    roModel = oSeen;
}
}

TYPED_TEST(ArrayModel, HoldsWhatAVectorHolds)
{
    using T = TypeParam;
    CountingAllocator oAllocator;
    std::mt19937      oRandom(7);
    CKArray<T>        oArray, oOther;
    std::vector<T>    oModel;
    for (unsigned int n : {1u, 3u, 5u, 3u})
        oOther.Add(Value<T>(n));

    for (int iStep = 0; iStep < 20000 && !this->HasFailure(); ++iStep)
    {
        const std::size_t uiSize     = oModel.size();
        const std::size_t uiIndex    = oRandom() % (uiSize + 1);
        const std::size_t uiOwn      = uiIndex / 2;  // an element, if there is one
        const int         iIndex     = static_cast<int>(uiIndex);
        const int         iOwn       = iIndex / 2;
        const auto        itModel    = oModel.begin() + iIndex;
        const T           oValue     = Value<T>(static_cast<KUINT32>(oRandom() % 6));
        const int         iOperation = uiSize > 60 ? 0 : static_cast<int>(oRandom() % 15);
        switch (iOperation)
        {
            case 0: oArray.SetSize(iOwn); oModel.resize(uiOwn); break;
            case 1: oArray.SetCount(static_cast<unsigned int>(uiSize + 2)); oModel.resize(uiSize + 2, Value<T>(0)); break;
            case 2: oArray.Add(oValue); oModel.push_back(oValue); break;
            case 3: if (uiSize > 0) { oArray.Add(oArray[iOwn]); oModel.push_back(T(oModel[uiOwn])); } break;
            case 4: oArray.SetAtGrow(iIndex + 3, oValue); oModel.resize(std::max(uiSize, uiIndex + 4), Value<T>(0)); oModel[uiIndex + 3] = oValue; break;
            case 5: if (uiSize > 0) { oArray.SetAt(iOwn, oValue); oModel[uiOwn] = oValue; } break;
            case 6: oArray.InsertAt(iIndex, oValue, 2); oModel.insert(itModel, 2, oValue); break;
            case 7: if (uiSize > 0) { oArray.InsertAt(iIndex, oArray[0u]); oModel.insert(itModel, T(oModel[0])); } break;
            case 8: oArray.RemoveAt(iIndex, 3); oModel.erase(itModel, uiSize - uiIndex > 3 ? itModel + 3 : oModel.end()); break;
            case 9: oArray.FreeExtra(); EXPECT_EQ(oArray.GetAllocCount(), uiSize); break;
            case 10: oArray |= oOther; oModel.insert(oModel.end(), oOther.Begin(), oOther.End()); RemoveDuplicates(oModel); break;
            case 11: oArray &= oOther; std::erase_if(oModel, [&](const T& ro) { return !oOther.IsPresent(ro); }); RemoveDuplicates(oModel); break;
            case 12: oArray.Append(oArray); oModel.resize(2 * uiSize); std::copy_n(oModel.begin(), uiSize, oModel.begin() + static_cast<int>(uiSize)); break;
            case 13: oArray.SortElements(); std::sort(oModel.begin(), oModel.end()); break;
            default: { const CKArray<T> oCopy(oArray); oArray = oOther; EXPECT_TRUE(oArray == oOther); oArray = oCopy; } break;
        }

        SCOPED_TRACE(testing::Message() << "step " << iStep << ", operation " << iOperation);
        ASSERT_EQ(oArray.GetCount(), oModel.size());
        EXPECT_TRUE(std::equal(oModel.begin(), oModel.end(), oArray.Begin()));
        const auto itFound = std::find(oModel.begin(), oModel.end(), oValue);
        EXPECT_EQ(oArray.Find(oValue), itFound == oModel.end() ? -1 : itFound - oModel.begin());
        EXPECT_EQ(oAllocator.GetSize(oArray.GetData()), oArray.GetAllocCount() * sizeof(T));
        EXPECT_EQ(oArray.GetData() == nullptr, oArray.GetAllocCount() == 0);
    }
    EXPECT_EQ(TakeReports(), 0);
}

// Sizes that an array is set to one after the other, and the storage that it then has.
TEST(Array, GrowsByTheStoredStep)
{
    const struct
    {
        const char*                           pszCase;
        std::vector<std::tuple<int, int, int>> aoSizes;  // size, step, expected capacity
    } aoRows[] = {
        {"exact, then an eighth", {{100, -1, 100}, {101, -1, 112}, {113, -1, 124}}},
        {"one by one", {{1, -1, 1}, {2, -1, 5}, {5, -1, 5}, {6, -1, 9}, {10, -1, 13}}},
        {"more than a step", {{1, -1, 1}, {50, -1, 50}, {51, -1, 54}}},
        {"the step is 4 to 1024", {{8191, -1, 8191}, {8192, -1, 8191 + 1023}, {9215, -1, 8191 + 2 * 1023}}},
        {"at most 1024", {{9000, -1, 9000}, {9001, -1, 9000 + 1024}}},
        {"a step of the caller's", {{3, 10, 3}, {4, -1, 13}, {14, 2, 15}, {16, -1, 17}}},
        {"a cleared step is computed anew", {{8, 100, 8}, {9, -1, 108}, {100, 0, 108}, {109, -1, 120}}},
        {"no storage", {{10, -1, 10}, {0, -1, 0}, {3, -1, 3}, {2, -1, 3}}},
    };
    for (const auto& roRow : aoRows)
    {
        CountingAllocator    oAllocator;
        CKArray<SRecord>     oArray;
        for (const auto& [iSize, iGrowBy, iCapacity] : roRow.aoSizes)
        {
            oArray.SetSize(iSize, iGrowBy);
            EXPECT_EQ(oArray.GetSize(), iSize) << roRow.pszCase;
            EXPECT_EQ(oArray.GetAllocSize(), iCapacity) << roRow.pszCase << ", size " << iSize;
        }
    }
}

namespace
{
// Grows to powers of two, and refuses to exceed 32 elements.
class DoublingArray : public CKArray<CKString>
{
public:
    void SetSize(int nNewSize, int nGrowBy) override
    {
        ++m_iCalls;
        if (nNewSize <= 32)
            CKArray::SetSize(nNewSize, nNewSize > GetAllocSize() ? std::max(GetAllocSize(), 1) : nGrowBy);
    }
    int m_iCalls = 0;
};
}

TEST(Array, ADerivedArrayReplacesTheGrowth)
{
    CountingAllocator  oAllocator;
    DoublingArray      oArray;
    CKArray<CKString>& roBase = oArray;
    oArray.Add("first");
    for (int i = 1; i < 40; ++i)
    {
        roBase.SetAtGrow(roBase.GetCount(), roBase[0]);
        EXPECT_EQ(oArray.GetAllocSize() & (oArray.GetAllocSize() - 1), 0);
    }
    EXPECT_EQ(roBase.GetSize(), 32);
    roBase.InsertAt(3, "more");
    EXPECT_EQ(roBase.Find("more"), -1);
    EXPECT_EQ(oArray.m_iCalls, 41);
    roBase.SetCount(2, -1);
    EXPECT_EQ(oArray.m_iCalls, 42);
}

TEST(Array, ReportsBrokenContractsAndStaysInside)
{
    constexpr int MAX = std::numeric_limits<int>::max();
    CountingAllocator oAllocator;
    CKArray<CKString> oArray;
    ExpectReport((oArray.SetSize(-1), oArray.GetSize() == 0));
    ExpectReport((oArray.SetCount(0x80000000u), oArray.GetSize() == 0));
    ExpectReport((oArray.SetSize(MAX), oArray.GetSize() == 0));  // more than 32 bits of bytes
    ExpectReport((oArray.SetAtGrow(-1, "x"), oArray.GetSize() == 0));
    ExpectReport((oArray.SetAtGrow(0xffffffffu, "x"), oArray.GetSize() == 0));
    ExpectReport((oArray.SetAtGrow(MAX, "x"), oArray.GetSize() == 0));
    oArray.Add("only");
    ExpectReport((oArray.SetSize(-1), oArray.GetSize() == 1));
    ExpectReport((oArray.SetAt(1, "x"), oArray[0] == "only"));
    ExpectReport(oArray.GetAt(1).GetLength() == 0);
    ExpectReport((oArray[-1] += 'x') == "x");
    ExpectReport(oArray[0xffffffffu] == "");
    ExpectReport((oArray.InsertAt(-1, "x"), oArray.GetSize() == 1));
    ExpectReport((oArray.InsertAt(1, "x", MAX), oArray.GetSize() == 1));
    ExpectReport((oArray.RemoveAt(2), oArray.GetSize() == 1));
    ExpectReport((KConstructElements<CKString>(nullptr, 1), true));
    ExpectReport((KDestructElements<CKString>(nullptr, 1), true));
    ExpectReport((KConstructElements<SRecord>(nullptr, 1), true));
    ExpectReport((KDestructElements<SRecord>(nullptr, 1), true));
}

TEST(ArrayString, SplitsAndJoins)
{
    CountingAllocator oAllocator;
    CKArrayString     oWords;
    EXPECT_EQ(oWords.Join("-"), "");
    EXPECT_EQ(oWords.InitFromString(" two  words ", " "), 2);
    EXPECT_EQ(oWords.InitFromString("two words", " "), 4) << "the second call adds";
    EXPECT_EQ(oWords.Join(", "), "two, words, two, words");
    EXPECT_EQ(oWords.Join(nullptr), "twowordstwowords");
    EXPECT_EQ(oWords.InitFromString(nullptr, " "), 4);
    EXPECT_EQ(oWords.InitFromString(oWords[3], oWords[0]), 5) << "its own texts: words without t, w and o";
    EXPECT_EQ(oWords.Join("|"), "two|words|two|words|rds");
}

TEST(Plex, ChainsBlocksAndReturnsThem)
{
    CountingAllocator oAllocator;
    CKPlex*           poHead = nullptr;
    CKPlex* const     poFirst = CKPlex::Create(poHead, 3, 5);
    CKPlex* const     poSecond = CKPlex::Create(poHead, 1, 1);
    EXPECT_EQ(poHead, poSecond);
    EXPECT_EQ(poHead->m_poNext, poFirst);
    EXPECT_EQ(poFirst->m_poNext, nullptr);
    EXPECT_EQ(oAllocator.GetSize(poFirst), sizeof(CKPlex) + 15);
    std::memset(poFirst->GetData(), 'x', 15);
    ExpectReport(CKPlex::Create(poHead, 0, 5) == nullptr);
    ExpectReport(CKPlex::Create(poHead, 5, 0) == nullptr);
    EXPECT_EQ(poHead, poSecond);
    poHead->FreeDataChain();
}
