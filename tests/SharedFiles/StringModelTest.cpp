// Random sequences over several strings against a model that knows text, capacity, lock and who shares.
#include "CountingAllocator.h"

namespace
{
struct ModelString
{
    using Buffer = std::pair<size_t, bool>;  // capacity, locked

    std::string             oText;
    std::shared_ptr<Buffer> poBuffer;  // null: the empty string's; its use count is the number of sharers

    explicit ModelString(const std::string& roText = {}) { AssignText(roText); }

    size_t Capacity() const { return poBuffer ? poBuffer->first : 0; }
    bool   IsLocked() const { return poBuffer && poBuffer->second; }
    bool   MustMove(size_t uiMin) const { return poBuffer.use_count() > 1 || uiMin > Capacity(); }

    void Reallocate(size_t ui) { poBuffer = ui == 0 ? nullptr : std::make_shared<Buffer>(ui, false); }
    void GetBuffer(size_t uiMin)
    {
        if (MustMove(uiMin)) Reallocate(std::max(uiMin, oText.size()));
    }
    void ChangeInPlace(const std::string& roNew, bool bAlsoIfEqual = false)
    {
        if (roNew == oText && !bAlsoIfEqual) return;
        GetBuffer(0);
        oText = roNew;
        GetBuffer(roNew.size());
    }
    void AssignText(const std::string& roNew)
    {
        if (roNew.empty() || MustMove(roNew.size())) Reallocate(roNew.size());
        oText = roNew;
    }
    void Assign(const ModelString& roSource)
    {
        if (poBuffer == roSource.poBuffer) return;
        if (const bool bLocked = IsLocked(); bLocked || roSource.IsLocked() || !roSource.poBuffer)
        {
            AssignText(roSource.oText);
            if (poBuffer) poBuffer->second = bLocked;
        }
        else
            *this = roSource;
    }
    void Append(const std::string& roAdded)
    {
        oText += roAdded;
        if (!roAdded.empty()) GetBuffer(oText.size());
    }
    void Format(const std::string& roNew, size_t uiGrown)
    {
        GetBuffer(Capacity());
        oText = roNew;
        GetBuffer(oText.size() < Capacity() ? 0 : std::max(oText.size() + 1, uiGrown));
    }
    ModelString Part(size_t uiFirst, size_t uiCount) const
    {
        ModelString oPart(oText.substr(uiFirst, uiCount));
        if (oPart.oText.size() == oText.size()) (oPart = ModelString()).Assign(*this);
        return oPart;
    }
};

std::string Mapped(std::string oText, int (*Map)(int))
{
    std::ranges::transform(oText, oText.begin(), Map);
    return oText;
}

// One step: a string and another one with their models, and what an action may need. t is the text before it, pszOwn a part
// of it that lies in the string itself.
struct SStep
{
    CKString &   s, &o;
    ModelString &m, &mo;
    std::string  t, oNew;
    size_t       uiAt;
    KCHAR8       ch;

    size_t        uiEnd = mo.oText.size(), uiInside = std::min(uiAt, t.size());
    KINT32        iAt    = static_cast<KINT32>(uiAt);
    const KCHAR8* pszOwn = s.c_str() + uiInside;
    std::string   oOwn   = t.substr(uiInside);
};

#define ACT(string, model)                                                             \
    {                                                                                  \
#string, [](SStep& ro) {                                                             \
            auto& [s, o, m, mo, t, oNew, uiAt, ch, uiEnd, uiInside, iAt, pszOwn, oOwn] = ro; \
            string;                                                                          \
            model;                                                                           \
        } \
    }
// clang-format off
constexpr std::pair<const char*, void (*)(SStep&)> ACTIONS[] = {
    // what is done to the string, which is also the name, and what that is in the model
    ACT(s = o, m.Assign(mo)),
    ACT(s = CKString(o), m.Assign(mo.Part(0, uiEnd))),
    ACT(s = oNew.empty() ? nullptr : oNew.c_str(), m.AssignText(oNew)),
    ACT(s = pszOwn, if (uiInside != 0 || t.empty()) m.AssignText(oOwn)),
    ACT(s = ch, m.AssignText({ch})),
    ACT(s = CKString(ch, iAt - 1), m.Assign(ModelString(std::string(uiAt - (uiAt > 0), ch)))),
    ACT(s += o, m.Append(std::string(mo.oText))),
    ACT(s += pszOwn, m.Append(oOwn)),
    ACT(s += ch, m.Append({ch})),
    ACT(s = s + o, m.Assign(ModelString(t + mo.oText))),
    ACT(s.Insert(iAt, oNew.c_str()), m.ChangeInPlace(std::string(t).insert(uiInside, oNew))),
    ACT(s.Insert(iAt, pszOwn), m.ChangeInPlace(std::string(t).insert(uiInside, oOwn))),
    ACT(s.Delete(iAt, 3), m.ChangeInPlace(std::string(t).erase(uiInside, 3))),
    ACT(s.Delete(iAt, 0), ),
    ACT(s.Delete(iAt), m.ChangeInPlace(std::string(t).erase(uiInside, 1))),
    ACT(s.Delete(static_cast<KUINT32>(uiAt)), m.ChangeInPlace(std::string(t).erase(uiInside, 1))),
    ACT(if (uiAt < t.size()) s.SetAt(iAt, ch), if (uiAt < t.size()) { m.ChangeInPlace(t, true); m.oText[uiAt] = ch; }),
    ACT(s.TrimLeft(" ,"), m.ChangeInPlace(t.substr(std::min(t.find_first_not_of(" ,"), t.size())))),
    ACT(s.TrimRight(" ,"), m.ChangeInPlace(t.substr(0, t.find_last_not_of(" ,") + 1))),
    ACT(s.MakeUpper(), m.ChangeInPlace(Mapped(t, std::toupper), true)),
    ACT(s.MakeLower(), m.ChangeInPlace(Mapped(t, std::tolower), true)),
    ACT(s.MakeReverse(), m.ChangeInPlace({t.rbegin(), t.rend()}, true)),
    ACT(*s.GetBuffer(iAt + 1) = ch; s.ReleaseBuffer(1), m.GetBuffer(uiAt + 1); m.oText = ch),
    ACT(*s.GetBuffer(static_cast<KUINT32>(uiAt) + 1) = ch; s.ReleaseBuffer(1), m.GetBuffer(uiAt + 1); m.oText = ch),
    ACT(s.ReleaseBuffer(iAt / 2), m.GetBuffer(0); m.oText.resize(uiAt / 2)),
    ACT(s.GetBufferSetLength(iAt / 2), m.GetBuffer(uiAt / 2); m.oText.resize(uiAt / 2)),
    ACT(s.FreeExtra(), if (m.Capacity() != t.size()) m.Reallocate(t.size())),
    ACT(s.LockBuffer(), m.GetBuffer(0); if (m.poBuffer) m.poBuffer->second = true),
    ACT(if (m.IsLocked()) s.UnlockBuffer(), if (m.IsLocked()) m.poBuffer->second = false),
    ACT(s.Empty(), if (!t.empty() && !m.IsLocked()) m.Reallocate(0); m.oText.clear()),
    ACT(s.Format("%s", oNew.c_str()), m.Format(oNew, 0)),
    ACT(s.AppendFormat("%s", oNew.c_str()), m.Format(t + oNew, 2 * m.Capacity())),
    ACT(s = o.Mid(static_cast<KUINT32>(uiEnd / 2), static_cast<KUINT32>(iAt)), m.Assign(mo.Part(uiEnd / 2, uiAt))),
    ACT(s = o.Right(iAt), m.Assign(mo.Part(uiEnd - std::min(uiAt, uiEnd), uiAt))),
};  // clang-format on

// What searches for the text, and for its first character, find from there on.
void ExpectSearches(const CKString& s, const std::string& t, const std::string& oFor, size_t uiFrom)
{
    const std::string oUpper = Mapped(t, std::toupper), oUpperFor = Mapped(oFor, std::toupper);
    const KINT32      iFrom = static_cast<KINT32>(uiFrom);
    const auto        Index = [](size_t uiAt) { return uiAt == std::string::npos ? -1 : static_cast<KINT32>(uiAt); };
    const char        ch = oFor[0], chUpper = oUpperFor[0];
    ASSERT_EQ(s.Find(oFor.c_str(), iFrom), Index(t.find(oFor, uiFrom)));
    ASSERT_EQ(s.FindNoCase(oFor.c_str(), iFrom), Index(oUpper.find(oUpperFor, uiFrom)));
    ASSERT_EQ(s.Find(ch, iFrom), Index(t.find(ch, uiFrom)));
    ASSERT_EQ(s.FindNoCase(ch, iFrom), Index(oUpper.find(chUpper, uiFrom)));
    ASSERT_EQ(std::tuple(s.Find(oFor.c_str()), s.FindNoCase(oFor.c_str()), s.Find(ch), s.FindNoCase(ch)),
              std::tuple(s.Find(oFor.c_str(), 0), s.FindNoCase(oFor.c_str(), 0), s.Find(ch, 0), s.FindNoCase(ch, 0)));
    ASSERT_TRUE(s.ReverseFind(ch) == Index(t.rfind(ch)) && s.ReverseFindNoCase(ch) == Index(oUpper.rfind(chUpper)));
    ASSERT_TRUE(s.CountOf(ch) == std::ranges::count(t, ch) && s.CountOfNoCase(ch) == std::ranges::count(oUpper, chUpper));
}
}

TEST(StringModel, SharesLocksAllocatesAndFindsAsTheModel)
{
    const CountingAllocator oAllocator;
    std::mt19937            oRandom(1);
    CKString                aoStrings[4];
    ModelString             aoModels[4];
    const auto              Below     = [&oRandom](size_t uiLimit) { return oRandom() % uiLimit; };
    const auto              Character = [&Below] { return "aB ,"[Below(4)]; };
    for (int iStep = 0; iStep < 75'000 && !HasFailure(); ++iStep)
    {
        const size_t uiTarget = Below(4), uiOther = Below(4);
        std::string  oNew(Below(3) == 0 ? 0 : Below(24), ' ');
        std::ranges::generate(oNew, Character);
        const std::string t     = aoModels[uiTarget].oText;
        SStep             oStep = {aoStrings[uiTarget], aoStrings[uiOther], aoModels[uiTarget], aoModels[uiOther], t, oNew,
                                   Below(t.size() + 2), Character()};
        const auto& [pszName, pfnAct] = ACTIONS[Below(std::size(ACTIONS))];
        pfnAct(oStep);
        SCOPED_TRACE(testing::Message() << iStep << ": " << pszName << ", s is " << uiTarget << ", o " << uiOther);
        ExpectSearches(oStep.s, oStep.m.oText, oNew.substr(0, 2), oStep.uiAt);
        for (size_t i = 0; i < 4; ++i)
        {
            const CKString&    si = aoStrings[i];
            const ModelString& mi = aoModels[i];
            ASSERT_EQ(std::string(si.c_str(), si.GetLengthU()), mi.oText);
            ASSERT_EQ(std::pair(si[0], si[si.GetLength()]), std::pair(*si.c_str(), '\0'));
            ASSERT_EQ(std::pair(size_t{si.GetAllocLengthU()}, si.IsEmpty() != FALSE),
                      std::pair(mi.Capacity(), mi.oText.empty()));
            ASSERT_EQ(si.GetMetaData()->iRefs, !mi.poBuffer || mi.IsLocked() ? -1 : mi.poBuffer.use_count());
            ASSERT_EQ(si.c_str() == CKString::m_poEmptyString->c_str(), mi.poBuffer == nullptr);
            for (size_t j = 0; j < i; ++j)
                ASSERT_EQ(si.c_str() == aoStrings[j].c_str(), mi.poBuffer == aoModels[j].poBuffer) << i << ", " << j;
            const size_t uiSize = mi.poBuffer ? sizeof(CKString::SMetaData) + mi.Capacity() + 1 : 0;
            ASSERT_EQ(oAllocator.GetSize(si.GetMetaData()), uiSize) << i;
        }
    }
}
