#include "QelMFCTypesAllocator.h"

#include <new>

CKAllocator* CKAllocator::m_poGlobalAllocator = nullptr;

void* CKAllocator::Alloc(size_t uiSizeInBytes)
{
    return m_poGlobalAllocator == this ? ::operator new[](uiSizeInBytes) : AllocBlock(uiSizeInBytes);
}

void CKAllocator::Free(void* pvBlock)
{
    if (m_poGlobalAllocator == this)
        ::operator delete[](pvBlock);
    else
        FreeBlock(pvBlock);
}

void* CKAllocator::AllocBlock(size_t uiSizeInBytes)
{
    return m_poGlobalAllocator != nullptr ? m_poGlobalAllocator->Alloc(uiSizeInBytes) : ::operator new[](uiSizeInBytes);
}

void CKAllocator::FreeBlock(void* pvBlock)
{
    if (pvBlock == nullptr)
        return;

    if (m_poGlobalAllocator != nullptr)
        m_poGlobalAllocator->Free(pvBlock);
    else
        ::operator delete[](pvBlock);
}
