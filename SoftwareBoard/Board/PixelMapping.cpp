#include "PixelMapping.h"

#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>

#include "BoardError.h"

namespace SoftwareBoard
{
namespace
{
thread_local sigjmp_buf* g_poLeave = nullptr;  // set while pixels are read

struct sigaction g_oActionBefore = {};

void OnBusError(int)
{
    if (g_poLeave != nullptr)
        siglongjmp(*g_poLeave, 1);
    sigaction(SIGBUS, &g_oActionBefore, nullptr);  // not of these pixels: taken when the instruction runs again
}

// As long as the process lives.
void CatchBusErrors()
{
    struct sigaction oAction = {};
    oAction.sa_handler       = OnBusError;
    oAction.sa_flags         = SA_NODEFER;  // the handler is left by a jump, which does not unblock the signal
    [[maybe_unused]] static const int s_iOnce = sigaction(SIGBUS, &oAction, &g_oActionBefore);
}

// Apart, so that no variable of the caller lives in a register across the jump.
[[gnu::noinline]] bool IsReadWhole(void (*pfnCall)(void*, const KUINT32*, size_t) noexcept, void* pThis,
                                   const KUINT32* puiPixels, size_t uiPitch)
{
    sigjmp_buf oLeave;
    if (sigsetjmp(oLeave, 0) != 0)
    {
        g_poLeave = nullptr;
        return false;
    }
    g_poLeave = &oLeave;
    pfnCall(pThis, puiPixels, uiPitch);
    g_poLeave = nullptr;
    return true;
}
}

PixelMapping::PixelMapping(const Screen& roScreen)
    : m_roScreen(roScreen), m_uiSize(size_t{roScreen.GetHeight()} * roScreen.GetPitch() * sizeof(KUINT32)),
      m_pMapped(mmap(nullptr, m_uiSize, PROT_READ, MAP_SHARED, roScreen.GetPixels().Get(), 0))
{
    if (m_pMapped == MAP_FAILED)
        ThrowSystemError("the pixels of an output", "mmap");
    CatchBusErrors();
}

PixelMapping::~PixelMapping()
{
    munmap(m_pMapped, m_uiSize);
}

void PixelMapping::CallGuarded(Call pfnCall, void* pThis) const
{
    // A page that the file ends in can be read, and is zero behind the end.
    struct stat oStat = {};
    if (fstat(m_roScreen.GetPixels().Get(), &oStat) != 0 || oStat.st_size < static_cast<off_t>(m_uiSize) ||
        !IsReadWhole(pfnCall, pThis, static_cast<const KUINT32*>(m_pMapped), m_roScreen.GetPitch()))
        m_roScreen.ThrowCut();
}
}
