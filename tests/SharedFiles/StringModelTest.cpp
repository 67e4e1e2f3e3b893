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
    void GetBuffer(std::size_t uiMin)
    {
        if (IsShared() || uiMin > Capacity())
            Reallocate(std::max(uiMin, oText.size()));
    }
    void ChangeInPlace(const std::string& roNew, bool bAlsoIfEqual = false)
    {
        if (roNew == oText && !bAlsoIfEqual)
            return;
        GetBuffer(0);
        oText = roNew;
        GetBuffer(roNew.size());
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
        oText += roAdded;
        if (!roAdded.empty() && (IsShared() || oText.size() > Capacity()))
            Reallocate(oText.size());
    }
    ModelString Part(std::size_t uiFirst, std::size_t uiCount) const
    {
        ModelString oPart;
        if (uiFirst == 0 && uiCount >= oText.size())
            oPart.Assign(*this);
        else
            oPart.AssignText(oText.substr(uiFirst, uiCount));
        return oPart;
    }
};

class Sequence
{
public:
    Sequence(unsigned int uiSeed, CountingAllocator* poAllocator) : m_oRandom(uiSeed), m_poAllocator(poAllocator) {}

    void Step()
    {
        const std::size_t uiTarget = Below(COUNT), uiOther = Below(COUNT);
        CKString &        s = m_aoStrings[uiTarget], &o = m_aoStrings[uiOther];
        ModelString &     m = m_aoModels[uiTarget], &mo = m_aoModels[uiOther];

        const std::string t       = m.oText;
        const std::size_t uiEnd   = mo.oText.size(), uiAt = Below(t.size() + 2), uiInside = std::min(uiAt, t.size());
        const KINT32      iAt     = static_cast<KINT32>(uiAt);
        const KCHAR8*     pszOwn  = s.c_str() + uiInside;  // a part of the string itself
        const std::string oOwn    = t.substr(uiInside), oNew = Text();
        const KCHAR8      ch      = "ab ,"[Below(4)];
        const int         iAction = static_cast<int>(Below(25));
        switch (iAction)
        {
            case 0: s = o; m.Assign(mo); break;
            case 1: s = CKString(o); m.Assign(mo.Part(0, uiEnd)); break;
            case 2: s = oNew.c_str(); m.AssignText(oNew); break;
            case 3: s = pszOwn; if (uiInside != 0 || t.empty()) m.AssignText(oOwn); break;
            case 4: s = ch; m.AssignText({ch}); break;
            case 5: s += o; m.Append(std::string(mo.oText)); break;
            case 6: s += pszOwn; m.Append(oOwn); break;
            case 7: s += ch; m.Append({ch}); break;
            case 8: s = s + o; { ModelString c; c.AssignText(t + mo.oText); m.Assign(c); } break;
            case 9: s.Insert(iAt, oNew.c_str()); m.ChangeInPlace(std::string(t).insert(uiInside, oNew)); break;
            case 10: s.Insert(iAt, pszOwn); m.ChangeInPlace(std::string(t).insert(uiInside, oOwn)); break;
            case 11: s.Delete(iAt, 3); m.ChangeInPlace(std::string(t).erase(uiInside, 3)); break;
            case 12: if (uiAt < t.size()) { s.SetAt(iAt, ch); m.ChangeInPlace(t, true); m.oText[uiAt] = ch; } break;
            case 13: s.TrimLeft(" ,"); m.ChangeInPlace(t.substr(std::min(t.find_first_not_of(" ,"), t.size()))); break;
            case 14: s.TrimRight(" ,"); m.ChangeInPlace(t.substr(0, t.find_last_not_of(" ,") + 1)); break;
            case 15: s.MakeUpper().MakeLower().MakeReverse(); m.ChangeInPlace({t.rbegin(), t.rend()}, true); break;
            case 16: *s.GetBuffer(iAt + 1) = ch; s.ReleaseBuffer(1); m.GetBuffer(uiAt + 1); m.oText = ch; break;
            case 17: s.GetBufferSetLength(iAt / 2); m.GetBuffer(uiAt / 2); m.oText.resize(uiAt / 2); break;
            case 18: s.FreeExtra(); if (m.Capacity() != t.size()) m.Reallocate(t.size()); break;
            case 19: s.LockBuffer(); m.GetBuffer(0); if (m.poBuffer) m.poBuffer->bIsLocked = true; break;
            case 20: if (m.IsLocked()) { s.UnlockBuffer(); m.poBuffer->bIsLocked = false; } break;
            case 21: s.Empty(); if (!t.empty() && !m.IsLocked()) m.Reallocate(0); m.oText.clear(); break;
            case 22:
                s.Format("%s", oNew.c_str());
                m.GetBuffer(m.Capacity());
                m.oText = oNew;
                if (oNew.size() >= m.Capacity())
                    m.Reallocate(oNew.size() + 1);
                break;
            case 23:
                s.AppendFormat("%s", oNew.c_str());
                m.GetBuffer(m.Capacity());
                m.oText += oNew;
                if (m.oText.size() >= m.Capacity())
                    m.Reallocate(std::max(m.oText.size() + 1, 2 * m.Capacity()));
                break;
            default:
                s = o.Mid(static_cast<KINT32>(uiEnd / 2), iAt);
                m.Assign(mo.Part(uiEnd / 2, uiAt));
                s = o.Right(iAt);
                m.Assign(mo.Part(mo.oText.size() - std::min(uiAt, mo.oText.size()), uiAt));
                break;
        }
        SCOPED_TRACE(testing::Message() << "action " << iAction << " on string " << uiTarget);
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
        std::set<const void*> oBuffers;
        for (std::size_t i = 0; i < COUNT; ++i)
        {
            const CKString&    s = m_aoStrings[i];
            const ModelString& m = m_aoModels[i];
            ASSERT_EQ(std::string(s.c_str(), s.GetLengthU()), m.oText);
            ASSERT_EQ(s.c_str()[m.oText.size()], '\0');
            ASSERT_EQ(s.GetAllocLengthU(), m.Capacity());
            ASSERT_EQ(s.GetMetaData()->iRefs, !m.poBuffer || m.IsLocked() ? -1 : m.poBuffer.use_count());
            ASSERT_EQ(s.c_str() == CKString::m_poEmptyString->c_str(), m.poBuffer == nullptr);
            for (std::size_t j = 0; j < i; ++j)
                ASSERT_EQ(s.c_str() == m_aoStrings[j].c_str(), m.poBuffer == m_aoModels[j].poBuffer) << i << ", " << j;

            const std::size_t uiSize = m.poBuffer ? sizeof(CKString::SMetaData) + m.Capacity() + 1 : 0;
            ASSERT_TRUE(m_poAllocator == nullptr || m_poAllocator->GetSize(s.GetMetaData()) == uiSize) << i;
            if (m.poBuffer)
                oBuffers.insert(s.c_str());
        }
        ASSERT_TRUE(m_poAllocator == nullptr || m_poAllocator->GetCount() == oBuffers.size());
    }

    std::mt19937                   m_oRandom;
    CountingAllocator*             m_poAllocator;
    std::array<CKString, COUNT>    m_aoStrings;
    std::array<ModelString, COUNT> m_aoModels;
};
}

// With the allocator every block is accounted for; on the heap a sanitizer sees every read beyond one.
TEST(StringModel, SharesLocksAndAllocatesAsTheModel)
{
    for (unsigned int uiSeed = 1; uiSeed <= 400 && !HasFailure(); ++uiSeed)
    {
        SCOPED_TRACE(testing::Message() << "seed " << uiSeed);
        std::optional<CountingAllocator> oAllocator;
        if (uiSeed % 2 == 0)
            oAllocator.emplace();
        Sequence oSequence(uiSeed, oAllocator ? &*oAllocator : nullptr);
        for (int i = 0; i < 500 && !HasFailure(); ++i)
            oSequence.Step();
    }
    EXPECT_EQ(TakeReports(), 0);
}
