// A bad board: passes every call on to the library that $BAD_BOARD_LIBRARY names, but for the fault that $BAD_BOARD names.
// That is one of the words below, or "hang", "deaf" (which closes all files first), "crash", "exit", "stop" (a signal to the
// parent), "stop-crash", "babble" (lines to the parent), "child" (a process that stays, whose number is written to
// $BAD_BOARD_CHILD), "no-memory" (at an address), "null" (it gives nothing, and a good status), a number (which is given) or
// a status, an operation, and from which of its calls on: "-1 TBuffer_Destroy 1".
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <concepts>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <type_traits>
#include <vector>

#include "Tavrin.h"

namespace
{
struct SFault
{
    SFault()
    {
        if (const char* const psz = std::getenv("BAD_BOARD")) std::sscanf(psz, "%31s %31s %d", acWhat, acOperation, &iCall);
    }
    char acWhat[32] = "", acOperation[32] = "";
    int  iCall = 1;
} const s_oFault;

bool Is(const char* pszWhat) { return std::strcmp(s_oFault.acWhat, pszWhat) == 0; }
bool IsOf(const char* pszOperation) { return std::strcmp(s_oFault.acOperation, pszOperation) == 0; }
bool s_bFaulty = false;  // whether the fault is that of the last call

// Commits the fault, if it is this call's. Returns the status of a call that is to fail, or 0.
TStatus Commit(const char* pszOperation)
{
    static int s_iCalls = 0;
    s_bFaulty           = IsOf(pszOperation) && ++s_iCalls >= s_oFault.iCall;
    if (!s_bFaulty) return TStatus_OK;
    if (Is("deaf")) closefrom(3);
    while (Is("hang") || Is("deaf")) pause();
    if (Is("exit")) _exit(3);
    // On the first pipe that can be written. A file of the board, unlike a pipe, has a place in it.
    constexpr char LINES[] = "{\"at\":5}\n{\"at\":\"\"}\n{\"result\":\"holds\"}\n{\"fact\":[7]}\n"
                             "{\"result\":[],\"came\":0}\n";
    for (int iFd = 3; Is("babble") && iFd < 64; ++iFd)
        if (lseek(iFd, 0, SEEK_CUR) < 0 && write(iFd, LINES, sizeof(LINES) - 1) > 0) break;
    if (Is("child") && fork() == 0)
    {
        std::ofstream(std::getenv("BAD_BOARD_CHILD")) << getpid() << std::flush;
        for (;;) pause();
    }
    if (Is("stop") || Is("stop-crash"))
    {
        kill(getppid(), SIGTERM);
        std::vector<pollfd> aoFiles;
        for (int iFd = 3; iFd < 64; ++iFd)
            if (fcntl(iFd, F_GETFD) >= 0) aoFiles.push_back({iFd, 0, 0});
        poll(aoFiles.data(), aoFiles.size(), 5000);  // until the parent closes a pipe, by which it tells to stop
    }
    if (!Is("crash") && !Is("stop-crash")) return TStatus(std::atoi(s_oFault.acWhat));
    std::puts("last words");
    std::signal(SIGSEGV, SIG_DFL);  // a sanitizer's handler would turn the signal into an exit
    std::raise(SIGSEGV);
    return TStatus_FAIL;
}

// Replaces what a call gives, if it gives something.
template <class T> void                  Replace(T, KUINT32) {}
template <std::unsigned_integral T> void Replace(T* pui, KUINT32 ui) { *pui = ui; }
void                                     Replace(tagTBuffer_PlaneInfo* po, KUINT32 ui) { po->uiPlaneCount = ui; }

// The operation of this name in the good library, called unless it is to fail.
template <auto pfOperation, class... TArguments> auto Pass(const char* pszName, TArguments... arguments)
{
    static void* const s_pvLibrary = dlopen(std::getenv("BAD_BOARD_LIBRARY"), RTLD_NOW | RTLD_LOCAL);
    const TStatus      eStatus     = Commit(pszName);
    using Result                   = decltype(pfOperation(arguments...));
    if (s_bFaulty && Is("null")) return Result();
    if constexpr (std::is_same_v<Result, TStatus>)
        if (eStatus < 0) return eStatus;
    Result tResult = reinterpret_cast<decltype(pfOperation)>(dlsym(s_pvLibrary, pszName))(arguments...);
    if (eStatus > 0) (Replace(&tResult, KUINT32(eStatus)), ..., Replace(arguments, KUINT32(eStatus)));
    return tResult;
}

tagTBuffer_PlaneInfo s_oInfo;
KUINTPTR             s_uiPlane = 0;
int                  s_iTaken  = 0;  // buffers, accesses and outputs that are not given back
std::vector<KUINT32> s_auiBefore;    // what a plane held before it was accessed, and holds again after that
bool                 s_bWasEnabled = false;

TStatus Take(TStatus e) { return s_iTaken += e >= 0 && !(s_bFaulty && Is("null")) ? 1 : 0, e; }
}

#define PASS(operation, ...) Pass<operation>(#operation __VA_OPT__(, ) __VA_ARGS__)

// clang-format off
extern "C"
{
TStatus Tavrin_Load(void)   { return Commit("Tavrin_Load"); }
TStatus Tavrin_UnLoad(void)
{
    if (s_iTaken != 0) std::fprintf(stderr, "not given back: %d\n", s_iTaken);
    return Commit("Tavrin_UnLoad");
}
KUINT32 Tavrin_GetDeviceCount(void) { return PASS(Tavrin_GetDeviceCount); }
TDevice_Handle Tavrin_GetDevice(KUINT32 ui) { return PASS(Tavrin_GetDevice, ui); }
TStatus TBuffer_CreateVideo(TDevice_Handle h, TPixelFormat e, KUINT32 uiWidth, KUINT32 uiHeight, TBuffer_Handle* ph)
    { return Take(PASS(TBuffer_CreateVideo, h, e, uiWidth, uiHeight, ph)); }
TStatus TBuffer_GetPlaneInfo(TBuffer_Handle h, tagTBuffer_PlaneInfo* po)
{
    const TStatus eStatus = PASS(TBuffer_GetPlaneInfo, h, po);
    s_oInfo = *po;
    if (Is("pitch") || Is("narrow")) po->auiPitchInBytes[0] = 4 * (po->auiPitch[0] = po->auiWidth[0] - (Is("narrow") ? 1 : 0));
    if (Is("pitch-in-bytes")) po->auiPitchInBytes[0] = po->auiWidth[0];
    if (Is("width-in-bytes")) po->auiWidthInBytes[0] = po->auiWidth[0];
    if (Is("width")) po->auiWidth[0] += 1;
    if (Is("height")) po->auiHeight[0] += 1;
    if (Is("format")) po->aePlaneFormat[0] = TPixelFormat_B8G8R8A8;
    return eStatus;
}
TStatus TBuffer_BeginAccess(TBuffer_Handle h, KUINT32 uiMode, KUINT32 uiPlanes, KUINTPTR* pui)
{
    const TStatus eStatus = PASS(TBuffer_BeginAccess, h, uiMode, std::min(uiPlanes, 1u), pui);
    if (eStatus >= 0) ++s_iTaken;
    if (Is("no-memory") && s_bFaulty)
        *pui = reinterpret_cast<KUINTPTR>(mmap(nullptr, 1 << 20, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (Is("no-memory")) std::signal(SIGSEGV, SIG_DFL);
    s_uiPlane = *pui;
    const auto* const puiFirst = reinterpret_cast<const KUINT32*>(s_uiPlane);
    if (Is("forgotten") || (Is("frozen") && s_bWasEnabled))
        s_auiBefore.assign(puiFirst, puiFirst + size_t{s_oInfo.auiPitch[0]} * s_oInfo.auiHeight[0]);
    return eStatus;
}
TStatus TBuffer_EndAccess(TBuffer_Handle h)
    { return std::ranges::copy(s_auiBefore, reinterpret_cast<KUINT32*>(s_uiPlane)), --s_iTaken, PASS(TBuffer_EndAccess, h); }
TStatus TBuffer_Destroy(TBuffer_Handle h) { return --s_iTaken, PASS(TBuffer_Destroy, h); }
TStatus TVideoOut_GetCount(TDevice_Handle h, KUINT32* pui) { return PASS(TVideoOut_GetCount, h, pui); }
TStatus TVideoOut_GetHandle(TDevice_Handle h, KUINT32 ui, TAccessMode e, TVideoOut_Handle* ph)
    { return Take(PASS(TVideoOut_GetHandle, h, ui, e, ph)); }
TStatus TVideoOut_Enable(TVideoOut_Handle h, TVideo_SignalType eSignal, const tagTVideo_VidParam* po, TBuffer_Handle hBuffer,
                         TVideoOut_PowerState ePower)
    { return s_bWasEnabled = true, PASS(TVideoOut_Enable, h, eSignal, po, hBuffer, ePower); }
TStatus TVideoOut_Disable(TVideoOut_Handle h) { return PASS(TVideoOut_Disable, h); }
TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle h)
{
    if (Is("released")) PASS(TVideoOut_Disable, h);
    return --s_iTaken, PASS(TVideoOut_ReleaseHandle, h);
}
TStatus TBoard_RegWrite(TDevice_Handle h, KUINT32 ui, KUINT32 uiValue) { return PASS(TBoard_RegWrite, h, ui, uiValue); }
TStatus TBoard_RegRead(TDevice_Handle h, KUINT32 ui, KUINT32* pui)
{
    static KUINT32 s_uiReads = 0;
    const TStatus eStatus = PASS(TBoard_RegRead, h, ui, pui);
    if (Is("clears") && ui == 7932 && s_uiReads++ == 0) *pui = 40;
    if (Is("fields") && ui == 7932) *pui = 90u << 24 | 1 << 22 | 9 << 8 | 5;
    return eStatus;
}
TStatus TBoard_GetFpgaCount(TDevice_Handle h, KUINT32* pui) { return PASS(TBoard_GetFpgaCount, h, pui); }
TStatus TBoard_GetFpgaInfo(TDevice_Handle h, KUINT32 ui, tagTBoard_FpgaInfo* po)
{
    const TStatus eStatus = PASS(TBoard_GetFpgaInfo, h, IsOf("TBoard_GetFpgaCount") ? 0 : ui, po);
    if (Is("name")) std::memcpy(po->szName, "\x1b[2J ~\x7f\xff", 9);
    return eStatus;
}
}
// clang-format on
