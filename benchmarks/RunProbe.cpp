// The tool, built of the same objects, with two of its calls of the device library watched: it says what it used until the
// first picture was on the outputs, what a step of its loop costs beside a bare step, and how much memory it took at most.
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include "BenchmarkTable.h"
#include "RunProbe.h"
#include "Tavrin.h"

extern "C"
{
TStatus __real_TBoard_RegWrite(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue);
TStatus __wrap_TBoard_RegWrite(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue);
TStatus __real_TBoard_RegRead(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue);
TStatus __wrap_TBoard_RegRead(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue);
}

namespace
{
// How many steps the loop takes before the board reports the end, from the environment; 0: one, without bare steps.
KUINT32 WantedSteps()
{
    const char* pszSteps = std::getenv(PROBE_STEPS_VARIABLE);
    return pszSteps != nullptr ? static_cast<KUINT32>(std::atoi(pszSteps)) : 0;
}

double ProcessTimeMs()
{
    timespec oTime{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &oTime);
    return static_cast<double>(oTime.tv_sec) * 1e3 + static_cast<double>(oTime.tv_nsec) / 1e6;
}

double PeakMemoryMiB()
{
    std::ifstream oStatus("/proc/self/status");
    std::string   sWord;
    double        dKiB = 0;
    while (oStatus >> sWord)
    {
        if (sWord == "VmHWM:")
            oStatus >> dKiB;
    }
    return dKiB / 1024;
}

// The size of a row is an argument, as in a step: of one that it knows the compiler makes instructions of its own.
[[gnu::noipa]] void CopyRows(KUINT8* puiTo, size_t uiPitch, const KUINT8* puiFrom, size_t uiFromPitch, KUINT32 uiRows,
                             size_t uiRowBytes)
{
    for (KUINT32 y = 0; y < uiRows; ++y)
        std::memcpy(puiTo + y * uiPitch, puiFrom + y * uiFromPitch, uiRowBytes);
}

// What a step cannot do without: one wait of its time, and the bytes of a frame and of the bar's filled part, copied into
// shared memory from one of as many frames and from one row.
class CBareStep
{
public:
    void Take(KUINT32 uiPct)
    {
        CopyRows(m_puiPlane + 900 * PITCH + 640 * 4, PITCH, m_auiBarRow.data(), 0, PROBE_BAR_HEIGHT,
                 PROBE_BAR_WIDTH * uiPct / 100 * 4);
        Wait();
        m_uiIndex = (m_uiIndex + 1) % PROBE_FRAMES;
        CopyRows(m_puiPlane + 300 * PITCH + 832 * 4, PITCH, m_aauiFrames[m_uiIndex].data(), ROW, PROBE_FRAME_SIZE, ROW);
    }

private:
    static KUINT8* MapPlane()
    {
        void* pvPlane = mmap(nullptr, PITCH * 1080, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        return pvPlane != MAP_FAILED ? static_cast<KUINT8*>(pvPlane) : throw std::bad_alloc();
    }

    static constexpr size_t ROW = PROBE_FRAME_SIZE * 4, PITCH = (1920 + 16) * 4;

    void Wait()
    {
        timespec oEnd{};
        clock_gettime(CLOCK_REALTIME, &oEnd);
        oEnd.tv_nsec += PROBE_STEP_MS * 1'000'000L;
        oEnd.tv_sec += oEnd.tv_nsec / 1'000'000'000L;
        oEnd.tv_nsec %= 1'000'000'000L;
        pthread_mutex_lock(&m_oMutex);
        while (pthread_cond_timedwait(&m_oCond, &m_oMutex, &oEnd) == 0)
        {}
        pthread_mutex_unlock(&m_oMutex);
    }

    pthread_mutex_t                  m_oMutex     = {};  // as PTHREAD_MUTEX_INITIALIZER has it, but for warnings
    pthread_cond_t                   m_oCond      = PTHREAD_COND_INITIALIZER;
    std::vector<KUINT8>              m_auiBarRow  = std::vector<KUINT8>(PROBE_BAR_WIDTH * 4, 0xFF);
    KUINT8*                          m_puiPlane   = MapPlane();
    std::vector<std::vector<KUINT8>> m_aauiFrames = {PROBE_FRAMES, std::vector<KUINT8>(ROW* PROBE_FRAME_SIZE, 1)};
    size_t                           m_uiIndex    = 0;
};

// The loop reads the progress register once a step, after everything but the bar: from the end of a read to the end of the
// next one is a step. A bare step is taken between two of them, so that both meet the same moment.
struct SSteps
{
    std::vector<double> adOursUs, adBareUs, adRatio;
    double              dStartNs = 0;
    KUINT32             uiTaken  = 0;
} g_oSteps;

double g_dFirstPictureMs = 0;

void Say()
{
    const char* pszFile = std::getenv(PROBE_RESULT_VARIABLE);
    std::FILE*  poFile  = pszFile != nullptr ? std::fopen(pszFile, "w") : nullptr;
    if (poFile == nullptr)
        return;
    const bool   bSteps     = !g_oSteps.adRatio.empty();
    const double dLongestUs = bSteps ? *std::max_element(g_oSteps.adOursUs.begin(), g_oSteps.adOursUs.end()) : 0;
    std::fprintf(poFile, "%.6f %.3f %.3f %.3f %.6f %.3f\n", g_dFirstPictureMs, PeakMemoryMiB(),
                 bSteps ? Median(g_oSteps.adOursUs) : 0, bSteps ? Median(g_oSteps.adBareUs) : 0,
                 bSteps ? Median(g_oSteps.adRatio) : 0, dLongestUs);
    std::fclose(poFile);
}
}

// The register tells that every output shows the picture, and at the end that the run is over.
TStatus __wrap_TBoard_RegWrite(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue)
{
    const TStatus eStatus = __real_TBoard_RegWrite(hDev, uiRegister, uiValue);
    if (uiValue == 1)
        g_dFirstPictureMs = ProcessTimeMs();
    else
        Say();
    return eStatus;
}

TStatus __wrap_TBoard_RegRead(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue)
{
    const TStatus eStatus = __real_TBoard_RegRead(hDev, uiRegister, puiValue);
    const double  dEndNs  = ThreadTimeNs();
    const KUINT32 uiSteps = WantedSteps();
    *puiValue             = g_oSteps.uiTaken < uiSteps ? 99 * g_oSteps.uiTaken / uiSteps : 100;
    ++g_oSteps.uiTaken;
    if (uiSteps == 0)
        return eStatus;

    static CBareStep s_oBare;
    const double     dBareNs = ThreadTimeNs();
    s_oBare.Take(*puiValue);
    const double dBareUs = (ThreadTimeNs() - dBareNs) / 1e3;
    if (g_oSteps.dStartNs != 0)
    {
        const double dOursUs = (dEndNs - g_oSteps.dStartNs) / 1e3;
        g_oSteps.adOursUs.push_back(dOursUs);
        g_oSteps.adBareUs.push_back(dBareUs);
        g_oSteps.adRatio.push_back(dOursUs / dBareUs);
    }
    g_oSteps.dStartNs = ThreadTimeNs();
    return eStatus;
}
