// What tests of the containers share: an allocator that sees every wrong move, and the number of check reports.
#ifndef COUNTING_ALLOCATOR_H
#define COUNTING_ALLOCATOR_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "QelMFCTypes.h"

// Installed while it lives. It knows the exact size of every block, and notices a write beyond one, a block that is
// given back twice or was never out, and one that never comes back.
class CountingAllocator : public CKAllocator
{
public:
    CountingAllocator() { SetGlobalAllocator(this); }
    ~CountingAllocator() override
    {
        SetGlobalAllocator(nullptr);
        EXPECT_TRUE(m_oBlocks.empty()) << m_oBlocks.size() << " blocks were never given back";
    }

    void* Alloc(std::size_t uiSize) override
    {
        auto auiBytes = std::make_unique<unsigned char[]>(uiSize + 2 * GUARD);
        std::memset(auiBytes.get(), FILL, uiSize + 2 * GUARD);
        void* pvBlock = auiBytes.get() + GUARD;
        m_oBlocks[pvBlock] = {std::move(auiBytes), uiSize};
        return pvBlock;
    }

    void Free(void* pvBlock) override
    {
        ASSERT_TRUE(m_oBlocks.contains(pvBlock)) << "a block that is not out was given back";
        const auto& [auiBytes, uiSize] = m_oBlocks[pvBlock];
        for (std::size_t i = 0; i < GUARD; ++i)
            EXPECT_TRUE(auiBytes[i] == FILL && auiBytes[GUARD + uiSize + i] == FILL) << "written outside a block";
        m_oBlocks.erase(pvBlock);
    }

    std::size_t GetCount() const { return m_oBlocks.size(); }
    std::size_t GetSize(const void* pvBlock) const
    {
        const auto itBlock = m_oBlocks.find(const_cast<void*>(pvBlock));
        return itBlock != m_oBlocks.end() ? itBlock->second.second : 0;
    }

private:
    static constexpr std::size_t   GUARD = 16;
    static constexpr unsigned char FILL  = 0xa5;

    std::map<void*, std::pair<std::unique_ptr<unsigned char[]>, std::size_t>> m_oBlocks;
};

int  TakeReports();                                           // the checks reported since the last call
void ExpectReport(bool bHeld, int iLine = __builtin_LINE());  // it holds, and its evaluation reported one check

#endif
