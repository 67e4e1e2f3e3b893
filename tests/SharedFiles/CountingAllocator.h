// What tests of the containers share: an allocator that sees every wrong move, and the number of check reports.
#ifndef COUNTING_ALLOCATOR_H
#define COUNTING_ALLOCATOR_H

#include <map>

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

// Installed while it lives. It knows the size of every block, and notices one that is given back twice or never, or was not
// out, and a report that no one expected. A sanitizer sees what is read or written beyond a block.
class CountingAllocator : public CKAllocator
{
public:
    CountingAllocator() { SetGlobalAllocator(this); }
    ~CountingAllocator() override
    {
        SetGlobalAllocator(nullptr);
        EXPECT_TRUE(m_oSizes.empty() && TakeReports() == 0) << m_oSizes.size() << " blocks were never given back";
    }

    void* Alloc(size_t uiSize) override
    {
        void* const pvBlock = std::memset(std::malloc(uiSize), 0xa5, uiSize);
        m_oSizes[pvBlock]   = uiSize;
        return pvBlock;
    }

    void Free(void* pvBlock) override
    {
        std::memset(pvBlock, 0x5a, GetSize(pvBlock));  // what reads it later finds other bytes
        ASSERT_EQ(m_oSizes.erase(pvBlock), 1u) << "a block that is not out was given back";
        std::free(pvBlock);
    }

    size_t GetSize(const void* pv) const { return m_oSizes.contains(pv) ? m_oSizes.at(pv) : 0; }

private:
    std::map<const void*, size_t> m_oSizes;
};

#endif
