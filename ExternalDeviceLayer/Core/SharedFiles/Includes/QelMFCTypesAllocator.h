#ifndef QEL_MFC_TYPES_ALLOCATOR_H
#define QEL_MFC_TYPES_ALLOCATOR_H

#include <cstddef>

// Every container gets and returns its storage through this hook. Without an installed allocator it uses the heap. Whoever
// installs an allocator owns it, and keeps it installed until all its blocks are returned.
class CKAllocator
{
public:
    // An allocator overrides these two. Free ignores null. Those of the base class call the installed allocator, or use the
    // heap if there is none or if this object is the installed one.
    virtual void* Alloc(size_t uiSizeInBytes);
    virtual void  Free(void* pvBlock);

    virtual ~CKAllocator() = default;

    static void SetGlobalAllocator(CKAllocator* poAllocator) { m_poGlobalAllocator = poAllocator; }  // null selects the heap

    // The containers call these two.
    static void* AllocBlock(size_t uiSizeInBytes);
    static void  FreeBlock(void* pvBlock);

    static CKAllocator* m_poGlobalAllocator;
};

#endif
