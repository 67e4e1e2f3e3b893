#include "BufferObject.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include "BoardError.h"

void* TBUFFER_OBJECT::BeginAccess()
{
    const int    iFd    = m_oPixels.oFile.Get();
    const size_t uiSize = m_oLayout.uiSizeInBytes;
    struct stat  oStat  = {};
    if (fstat(iFd, &oStat) != 0 || oStat.st_size < off_t{m_oLayout.uiSizeInBytes})
        SoftwareBoard::ThrowSystemError("the pixels of a buffer", "fstat", EIO);

    // Occupies the last address while the kernel chooses a new one. Otherwise it would choose the same one again, and a
    // client that still uses the old address would never notice.
    void* pGuard = MAP_FAILED;
    if (m_pBefore != nullptr)
        pGuard =
            mmap(m_pBefore, uiSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE, -1, 0);
    void* const pMapped = mmap(nullptr, uiSize, PROT_READ | PROT_WRITE, MAP_SHARED, iFd, 0);
    const int   iError  = errno;
    if (pGuard != MAP_FAILED)
        munmap(pGuard, uiSize);
    if (pMapped == MAP_FAILED)
        SoftwareBoard::ThrowSystemError("the pixels of a buffer", "mmap", iError);
    m_pMapped = pMapped;
    return m_pMapped;
}

void TBUFFER_OBJECT::EndAccess()
{
    if (m_pMapped != nullptr)
        munmap(m_pMapped, m_oLayout.uiSizeInBytes);
    m_pBefore = m_pMapped;
    m_pMapped = nullptr;
}
