// What tests of the containers share: an allocator that sees every wrong move, and the number of check reports.
#ifndef COUNTING_ALLOCATOR_H
#define COUNTING_ALLOCATOR_H

#include "QelMFCTypes.h"
#include "TestSupport.h"

inline int g_iReports = 0;

inline int TakeReports() { return std::exchange(g_iReports, 0); }  // the checks reported since the last call

// All hold, and their evaluation reported one check each.
inline void ExpectReports(std::initializer_list<bool> abHeld, int iLine = __builtin_LINE())
{
    EXPECT_EQ(TakeReports(), static_cast<int>(abHeld.size())) << "line " << iLine;
    for (const bool& rbHeld : abHeld) EXPECT_TRUE(rbHeld) << "line " << iLine << ", number " << &rbHeld - abHeld.begin();
}

// Installed while it lives. It knows the exact size of every block, and notices a write beyond one, a block that is given
// back twice or was never out, one that never comes back, and a report that no one expected. What was given back holds
// other bytes.
class CountingAllocator : public CKAllocator
{
public:
    CountingAllocator() { SetGlobalAllocator(this); }
    ~CountingAllocator() override
    {
        SetGlobalAllocator(nullptr);
        EXPECT_TRUE(m_oBlocks.empty() && TakeReports() == 0) << m_oBlocks.size() << " blocks were never given back";
    }

    void* Alloc(size_t uiSize) override
    {
        std::vector<unsigned char> oBytes(uiSize + 2 * GUARD, FILL);
        void* const                pvBlock = oBytes.data() + GUARD;
        ++m_uiTaken;
        return m_oBlocks.emplace(pvBlock, std::move(oBytes)), pvBlock;
    }

    void Free(void* pvBlock) override
    {
        const auto oBlock = m_oBlocks.extract(pvBlock);
        ASSERT_FALSE(oBlock.empty()) << "a block that is not out was given back";
        std::vector<unsigned char>& oBytes = m_aoGone.emplace_back(std::move(oBlock.mapped()));
        for (size_t i = 0; i < GUARD; ++i)
            EXPECT_TRUE(oBytes[i] == FILL && oBytes[oBytes.size() - 1 - i] == FILL) << "written outside a block";
        oBytes.assign(oBytes.size(), FILL);
    }

    size_t GetTaken() const { return m_uiTaken; }  // blocks so far
    size_t GetCount() const { return m_oBlocks.size(); }
    size_t GetSize(const void* pv) const { return m_oBlocks.contains(pv) ? m_oBlocks.at(pv).size() - 2 * GUARD : 0; }

private:
    static constexpr size_t        GUARD = 16;
    static constexpr unsigned char FILL  = 0xa5;

    size_t m_uiTaken = 0;

    std::map<const void*, std::vector<unsigned char>> m_oBlocks;
    std::vector<std::vector<unsigned char>>           m_aoGone;
};

#endif
