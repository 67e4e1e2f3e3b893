// What tests of the containers share: an allocator that sees every wrong move, and the number of check reports.
#ifndef COUNTING_ALLOCATOR_H
#define COUNTING_ALLOCATOR_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

#include "QelMFCTypes.h"

// Installed while it lives. It knows the exact size of every block, notices a write beyond one, a block that is given back
// twice or that it never gave, and one that never comes back.
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
        auto  auiBlock = std::make_unique<unsigned char[]>(uiSize + 2 * GUARD);
        void* pvBlock  = auiBlock.get() + GUARD;
        std::memset(auiBlock.get(), FILL, uiSize + 2 * GUARD);
        m_oBlocks[pvBlock] = {std::move(auiBlock), uiSize};
        ++m_uiAllocations;
        return pvBlock;
    }

    void Free(void* pvBlock) override
    {
        const auto itBlock = m_oBlocks.find(pvBlock);
        ASSERT_NE(itBlock, m_oBlocks.end()) << "a block that is not out was given back";
        const auto* puiBlock = itBlock->second.auiBytes.get();
        const auto  IsGuard  = [](unsigned char uiByte) { return uiByte == FILL; };
        EXPECT_TRUE(std::all_of(puiBlock, puiBlock + GUARD, IsGuard)) << "written in front of a block";
        puiBlock += GUARD + itBlock->second.uiSize;
        EXPECT_TRUE(std::all_of(puiBlock, puiBlock + GUARD, IsGuard)) << "written behind a block";
        m_oBlocks.erase(itBlock);
    }

    std::size_t GetCount() const { return m_oBlocks.size(); }
    std::size_t GetAllocations() const { return m_uiAllocations; }  // since the start
    std::size_t GetSize(const void* pvBlock) const
    {
        const auto itBlock = m_oBlocks.find(const_cast<void*>(pvBlock));
        return itBlock != m_oBlocks.end() ? itBlock->second.uiSize : 0;
    }

private:
    static constexpr std::size_t   GUARD = 16;
    static constexpr unsigned char FILL  = 0xa5;

    struct SBlock
    {
        std::unique_ptr<unsigned char[]> auiBytes;
        std::size_t                      uiSize = 0;
    };
    std::map<void*, SBlock> m_oBlocks;
    std::size_t             m_uiAllocations = 0;
};

// The checks reported since the last call.
int TakeReports();

// What was evaluated holds, and exactly one check was reported meanwhile.
void ExpectReport(bool bHeld, int iLine = __builtin_LINE());

#endif
