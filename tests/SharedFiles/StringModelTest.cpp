// Random sequences over several strings against a model that knows text, capacity, lock and who shares.
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <random>
#include <set>
#include <string>

#include "CountingAllocator.h"

namespace
{
struct ModelBuffer
{
    std::size_t uiCapacity;
    bool        bIsLocked;
};

struct ModelString
{
    std::string                  oText;
    std::shared_ptr<ModelBuffer> poBuffer;  // null: the empty string's; its use count is the number of sharers

    std::size_t Capacity() const { return poBuffer ? poBuffer->uiCapacity : 0; }
    bool        IsShared() const { return poBuffer.use_count() > 1; }
    bool        IsLocked() const { return poBuffer && poBuffer->bIsLocked; }

    void Reallocate(std::size_t uiCapacity, bool bIsLocked = false)
    {
        poBuffer = uiCapacity == 0 ? nullptr : std::make_shared<ModelBuffer>(ModelBuffer{uiCapacity, bIsLocked});
    }
    void CopyBeforeWrite()
    {
        if (IsShared())
            Reallocate(oText.size());
    }
    void GetBuffer(std::size_t uiMin)
    {
        if (IsShared() || uiMin > Capacity())
            Reallocate(std::max(uiMin, oText.size()));
    }
    void AssignText(const std::string& roNew)
    {
        if (roNew.empty())
            Reallocate(0);
        else if (IsShared() || roNew.size() > Capacity())
            Reallocate(roNew.size(), IsLocked());
        oText = roNew;
    }
    void Assign(const ModelString& roSource)
    {
        if (poBuffer == roSource.poBuffer)
            return;
        if (IsLocked() || roSource.IsLocked() || !roSource.poBuffer)
            AssignText(roSource.oText);
        else
            *this = roSource;
    }
    void Append(const std::string& roAdded)
    {
        if (roAdded.empty())
            return;
        oText += roAdded;
        if (IsShared() || oText.size() > Capacity())
            Reallocate(oText.size());
    }
    void Insert(std::size_t uiIndex, const std::string& roAdded)
    {
        if (roAdded.empty())
            return;
        CopyBeforeWrite();
        oText.insert(std::min(uiIndex, oText.size()), roAdded);
        if (oText.size() > Capacity())
            Reallocate(oText.size());
    }
    void Keep(std::size_t uiFirst, std::size_t uiEnd)
    {
        if (uiFirst == 0 && uiEnd == oText.size())
            return;
        GetBuffer(0);
        oText = oText.substr(uiFirst, uiEnd - uiFirst);
    }
    static ModelString Of(const std::string& roText)
    {
        ModelString oNew;
        oNew.AssignText(roText);
        return oNew;
    }
    ModelString Part(std::size_t uiFirst, std::size_t uiCount) const
    {
        if (uiFirst != 0 || uiCount < oText.size())
            return Of(oText.substr(uiFirst, uiCount));
        ModelString oWhole;
        oWhole.Assign(*this);
        return oWhole;
    }
};

// A few strings and their models; an operation changes the first of the two it is given.
class Sequence
{
public:
    Sequence(unsigned int uiSeed, CountingAllocator* poAllocator) : m_oRandom(uiSeed), m_poAllocator(poAllocator) {}

    void Step()
    {
        CKString&    s = m_aoStrings[m_uiTarget = Below(COUNT)];
        ModelString& m = m_aoModels[m_uiTarget];
        const auto   uiOther = Below(COUNT);
        CKString&    o  = m_aoStrings[uiOther];
        ModelString& mo = m_aoModels[uiOther];

        const std::size_t uiLength = m.oText.size();
        const std::size_t uiIndex  = Below(uiLength + 2);
        const KINT32      iIndex   = static_cast<KINT32>(uiIndex);
        const std::size_t uiInside = std::min(uiIndex, uiLength);
        const KCHAR8*     pszOwn   = s.c_str() + uiInside;  // a part of the string itself
        const std::string oOwn     = m.oText.substr(uiInside);
        const std::string oText    = Text();
        const KCHAR8      ch       = "ab ,"[Below(4)];

        switch (m_iOperation = static_cast<int>(Below(28)))
        {
            case 0: s = o; m.Assign(mo); break;
            case 1: s = CKString(o); m.Assign(mo.Part(0, mo.oText.size())); break;
            case 2: s = oText.c_str(); m.AssignText(oText); break;
            case 3: s = pszOwn; if (uiInside != 0 || uiLength == 0) m.AssignText(oOwn); break;
            case 4: s = ch; m.AssignText({ch}); break;
            case 5: s += o; m.Append(std::string(mo.oText)); break;
            case 6: s += pszOwn; m.Append(oOwn); break;
            case 7: s += ch; m.Append({ch}); break;
            case 8: s = s + o; m.Assign(ModelString::Of(m.oText + mo.oText)); break;
            case 9: s.Insert(iIndex, oText.c_str()); m.Insert(uiIndex, oText); break;
            case 10: s.Insert(iIndex, pszOwn); m.Insert(uiIndex, oOwn); break;
            case 11: s.Insert(iIndex - 1, ch); m.Insert(std::max(uiIndex, std::size_t{1}) - 1, {ch}); break;
            case 12:
                s.Delete(iIndex, 3);
                if (uiIndex < uiLength)
                {
                    m.CopyBeforeWrite();
                    m.oText.erase(uiIndex, 3);
                }
                break;
            case 13:
                if (uiIndex >= uiLength)
                    break;
                s.SetAt(iIndex, ch);
                m.CopyBeforeWrite();
                m.oText[uiIndex] = ch;
                break;
            case 14: s.TrimLeft(" ,"); m.Keep(std::min(m.oText.find_first_not_of(" ,"), uiLength), uiLength); break;
            case 15: s.TrimRight(" ,"); m.Keep(0, m.oText.find_last_not_of(" ,") + 1); break;
            case 16:
                s.MakeUpper().MakeLower().MakeReverse();
                m.CopyBeforeWrite();
                std::reverse(m.oText.begin(), m.oText.end());
                break;
            case 17:
                std::memset(s.GetBuffer(iIndex + 1), ch, uiIndex + 1);
                m.GetBuffer(uiIndex + 1);
                s.ReleaseBuffer(iIndex);
                m.oText = std::string(uiIndex, ch);
                break;
            case 18:
                m.GetBuffer(uiInside);
                s.GetBufferSetLength(static_cast<KINT32>(uiInside));
                m.oText.resize(uiInside);
                break;
            case 19: s.FreeExtra(); if (m.Capacity() != uiLength) m.Reallocate(uiLength); break;
            case 20: s.LockBuffer(); m.GetBuffer(0); if (m.poBuffer) m.poBuffer->bIsLocked = true; break;
            case 21: if (m.IsLocked()) { s.UnlockBuffer(); m.poBuffer->bIsLocked = false; } break;
            case 22:
                s.Empty();
                if (uiLength != 0 && !m.IsLocked())
                    m.Reallocate(0);
                m.oText.clear();
                break;
            case 23:
                s.Format("%s", oText.c_str());
                m.GetBuffer(m.Capacity());
                if (oText.size() >= m.Capacity())
                    m.Reallocate(oText.size() + 1);
                m.oText = oText;
                break;
            case 24:
            {
                s.AppendFormat("%s", oText.c_str());
                const std::size_t uiCapacity = m.Capacity();
                m.GetBuffer(uiCapacity);
                m.oText += oText;
                if (m.oText.size() >= uiCapacity)
                    m.Reallocate(m.oText.size() < 2 * uiCapacity ? 2 * uiCapacity : m.oText.size() + 1);
                break;
            }
            case 25: s = o.Left(iIndex); m.Assign(mo.Part(0, uiIndex)); break;
            case 26: s = o.Right(iIndex); m.Assign(mo.Part(mo.oText.size() - std::min(uiIndex, mo.oText.size()), uiIndex)); break;
            case 27: s = o.Mid(o.GetLength() / 2, iIndex); m.Assign(mo.Part(mo.oText.size() / 2, uiIndex)); break;
            default: break;
        }
        Check();
    }

private:
    static constexpr std::size_t COUNT = 4;

    std::size_t Below(std::size_t uiLimit) { return m_oRandom() % uiLimit; }
    std::string Text()
    {
        std::string oText(Below(3) == 0 ? 0 : Below(24), ' ');
        for (char& rch : oText)
            rch = "ab ,"[Below(4)];
        return oText;
    }

    void Check() const
    {
        std::set<const ModelBuffer*> oBuffers;
        for (std::size_t i = 0; i < COUNT; ++i)
        {
            const CKString&    s = m_aoStrings[i];
            const ModelString& m = m_aoModels[i];
            SCOPED_TRACE(testing::Message() << "string " << i << " after operation " << m_iOperation << " on " << m_uiTarget);
            ASSERT_EQ(std::string(s.c_str(), s.GetLengthU()), m.oText);
            ASSERT_EQ(s.c_str()[m.oText.size()], '\0');
            ASSERT_EQ(s.GetAllocLengthU(), m.Capacity());
            ASSERT_EQ(s.GetMetaData()->iRefs, !m.poBuffer || m.IsLocked() ? -1 : m.poBuffer.use_count());
            for (std::size_t j = 0; j < i; ++j)
                ASSERT_EQ(s.c_str() == m_aoStrings[j].c_str(), m.poBuffer == m_aoModels[j].poBuffer) << "as string " << j;

            ASSERT_EQ(s.c_str() == CKString::m_poEmptyString->c_str(), m.poBuffer == nullptr);
            if (m.poBuffer != nullptr)
                oBuffers.insert(m.poBuffer.get());
            if (m.poBuffer != nullptr && m_poAllocator != nullptr)
            {
                ASSERT_EQ(m_poAllocator->GetSize(s.GetMetaData()), sizeof(CKString::SMetaData) + m.Capacity() + 1);
            }
        }
        if (m_poAllocator != nullptr)
        {
            ASSERT_EQ(m_poAllocator->GetCount(), oBuffers.size()) << "after operation " << m_iOperation;
        }
    }

    std::mt19937                   m_oRandom;
    CountingAllocator*             m_poAllocator;
    std::array<CKString, COUNT>    m_aoStrings;
    std::array<ModelString, COUNT> m_aoModels;
    std::size_t                    m_uiTarget   = 0;
    int                            m_iOperation = -1;
};

// With the allocator every block is accounted for; on the heap a sanitizer sees every read beyond one.
void RunSequences(bool bIsCounted)
{
    for (unsigned int uiSeed = 1; uiSeed <= 200 && !testing::Test::HasFatalFailure(); ++uiSeed)
    {
        SCOPED_TRACE(testing::Message() << "seed " << uiSeed);
        std::optional<CountingAllocator> oAllocator;
        if (bIsCounted)
            oAllocator.emplace();
        Sequence oSequence(uiSeed, bIsCounted ? &*oAllocator : nullptr);
        for (int i = 0; i < 500 && !testing::Test::HasFatalFailure(); ++i)
            oSequence.Step();
    }
    EXPECT_EQ(TakeReports(), 0);
}
}

TEST(StringModel, SharesLocksAndAllocatesAsTheModel)
{
    RunSequences(true);
}

TEST(StringModel, StaysInsideItsBuffersOnTheHeap)
{
    RunSequences(false);
}
