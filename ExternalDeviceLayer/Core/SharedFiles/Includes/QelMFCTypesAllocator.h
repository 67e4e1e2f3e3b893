#ifndef QEL_MFC_TYPES_ALLOCATOR_H
#define QEL_MFC_TYPES_ALLOCATOR_H

#include <cstddef>

// The hook through which every container obtains and returns its storage. Without an installed allocator that is the
// heap. The one who installs an allocator owns it, and keeps it installed while a block of its is out.
class CKAllocator
{
public:
    // What an allocator replaces; a null block is ignored. The base class passes both on to the installed allocator,
    // and to the heap when there is none or when it is the installed one itself.
    virtual void* Alloc(size_t uiSizeInBytes);
    virtual void  Free(void* pvBlock);

    virtual ~CKAllocator() = default;

    static void SetGlobalAllocator(CKAllocator* poAllocator) { m_poGlobalAllocator = poAllocator; }  // null: the heap

    // What the containers call.
    static void* AllocBlock(size_t uiSizeInBytes);
    static void  FreeBlock(void* pvBlock);

    static CKAllocator* m_poGlobalAllocator;
};

#endif
