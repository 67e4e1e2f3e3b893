#include "QelMFCTypesPlex.h"

#include <new>

#include "QelCheck.h"
#include "QelMFCTypesAllocator.h"

CKPlex* CKPlex::Create(CKPlex*& rpoHead, KUINT32 nMax, KUINT32 cbElement)
{
    const bool bIsPossible = nMax != 0 && cbElement != 0;
    QEL_ASSERT(bIsPossible);
    if (!bIsPossible)
        return nullptr;

    void* pvBlock = CKAllocator::AllocBlock(sizeof(CKPlex) + size_t{nMax} * cbElement);
    if (pvBlock == nullptr)
        return nullptr;

    rpoHead = ::new (pvBlock) CKPlex{rpoHead};
    return rpoHead;
}

void CKPlex::FreeDataChain()
{
    for (CKPlex* poBlock = this; poBlock != nullptr;)
    {
        CKPlex* poNext = poBlock->m_poNext;
        CKAllocator::FreeBlock(poBlock);
        poBlock = poNext;
    }
}
