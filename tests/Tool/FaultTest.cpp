// Every call that a run makes fails in turn, once or from then on. Tables hold what the run must then do, print and return.
// And a run of a million steps.
#include <png.h>

#include <csignal>
#include <map>

#include "DisplayWorld.h"
#include "OsServices.h"

OsServices g_oOsServices(nullptr);

static std::atomic<int>                          s_iAllocations{0};
static KUINT64                                   s_uiFakeNs = 0;  // the clock, when it is not 0
static std::function<void(KUINT64 uiDeadlineNs)> s_fOnWait;       // on the fake clock

// The linker leads the calls of the program's own objects through these wrappers. Some come before a sanitizer is ready.
#define EARLY __attribute__((no_sanitize("address", "undefined", "thread")))
EARLY static bool ServiceFails(const char* psz) { return g_bRunIsUnderWay && g_fServiceFails && g_fServiceFails(psz); }

// clang-format off
#define SERVICE(result, name, parameters, arguments, failure) \
    extern "C" result __real_##name parameters;               \
    extern "C" EARLY result __wrap_##name parameters { return ServiceFails(#name) ? (failure) : __real_##name arguments; }
SERVICE(int, sigaction, (int i, const struct sigaction* p, struct sigaction* q), (i, p, q), -1)
SERVICE(int, pthread_mutex_init, (pthread_mutex_t* p, const pthread_mutexattr_t* q), (p, q), ENOMEM)
SERVICE(int, pthread_cond_init, (pthread_cond_t* p, const pthread_condattr_t* q), (p, q), ENOMEM)
SERVICE(int, pthread_cond_broadcast, (pthread_cond_t* p), (p), EINVAL)
SERVICE(std::FILE*, fopen, (const char* p, const char* q), (p, q), nullptr)
SERVICE(void*, dlopen, (const char* p, int i), (p, i), nullptr)
SERVICE(void*, dlsym, (void* p, const char* q), (p, q), nullptr)
SERVICE(int, dlclose, (void* p), (p), -1)
SERVICE(int, pthread_cond_destroy, (pthread_cond_t* p), (p), EINVAL)
SERVICE(png_structp, png_create_read_struct, (const char* p, void* q, png_error_ptr r, png_error_ptr s), (p, q, r, s),
        nullptr)
SERVICE(png_infop, png_create_info_struct, (png_const_structrp p), (p), nullptr)

extern "C"
{
#define COUNTED(name)                   \
    void* __real_##name(size_t uiSize); \
    void* __wrap_##name(size_t uiSize) { return ++s_iAllocations, __real_##name(uiSize); }
COUNTED(_Znwm) COUNTED(_Znam) COUNTED(malloc)
void* __real__ZnamRKSt9nothrow_t(size_t uiSize, const std::nothrow_t& ro);
void* __wrap__ZnamRKSt9nothrow_t(size_t uiSize, const std::nothrow_t& ro)
{
    void* const pv = ServiceFails("new") ? nullptr : __real__ZnamRKSt9nothrow_t(uiSize, ro);
    ++s_iAllocations;
    g_auiBlocks.push_back(uiSize);
    return pv != nullptr ? std::memset(pv, 0xA5, std::min(uiSize, size_t{1} << 20)) : pv;  // never clear by chance
}

// clang-format on

int       __real_clock_gettime(clockid_t eClock, timespec* po);
time_t    __real_time(time_t* pi);
int       __real_pthread_cond_timedwait(pthread_cond_t* poCond, pthread_mutex_t* poMutex, const timespec* po);
EARLY int __wrap_clock_gettime(clockid_t eClock, timespec* po)
{
    if (s_uiFakeNs == 0) return ServiceFails("clock_gettime") ? -1 : __real_clock_gettime(eClock, po);
    *po = {static_cast<time_t>(s_uiFakeNs / 1'000'000'000), static_cast<long>(s_uiFakeNs % 1'000'000'000)};
    return 0;
}
int __real_madvise(void* pv, size_t uiBytes, int iAdvice);
int __wrap_madvise(void* pv, size_t uiBytes, int iAdvice)
{
    g_aoAdvice.emplace_back(reinterpret_cast<KUINTPTR>(pv), uiBytes, iAdvice);
    return __real_madvise(pv, uiBytes, iAdvice);
}
time_t __wrap_time(time_t* pi)
{
    return s_uiFakeNs == 0 ? __real_time(pi) : static_cast<time_t>(s_uiFakeNs / 1'000'000'000);
}
int __wrap_pthread_cond_timedwait(pthread_cond_t* poCond, pthread_mutex_t* poMutex, const timespec* po)
{
    if (s_uiFakeNs == 0)
        return ServiceFails("pthread_cond_timedwait") ? EPERM : __real_pthread_cond_timedwait(poCond, poMutex, po);
    s_fOnWait(static_cast<KUINT64>(po->tv_sec) * 1'000'000'000 + static_cast<KUINT64>(po->tv_nsec));
    return ETIMEDOUT;
}
}

namespace
{
struct Fault : DisplayWorld
{
    ~Fault() override { s_uiFakeNs = 0; }

    // After a run that something failed in.
    void ExpectNothingIsLeft()
    {
        EXPECT_EQ(Tavrin_GetDeviceCount(), 0u) << "the library is still loaded";
        EXPECT_EQ(EntriesOf("/proc/self/fd"), m_iFiles);
        RecordProperty("Tried", ++m_iTried);
    }
    const std::ptrdiff_t m_iFiles = (MakePictures(2), EntriesOf("/proc/self/fd"));
    int                  m_iTried = 0;
};

// ---- The device library.

const std::string BUSY      = "ABORTING: Cannot enable display, the resource is busy! \\(Video output:";
constexpr int     LAST_READ = 3;  // at this one a signal ends a run that reads in vain

// What a run makes of calls that fail.
struct SOutcome
{
    Calls       asCalls;
    std::string sOutput;  // a regular expression
    TStatus     eStatus = TStatus_OK;
};

SOutcome Promised(const std::function<bool(size_t uiCall)>& fFails, TStatus eFailure)
{
    SOutcome   o;
    size_t     uiDone = 0;
    const auto fCall  = [&](const std::string& s) { return o.asCalls.push_back(s), !fFails(o.asCalls.size() - 1); };
    for (const std::string& s : FORWARD)
    {
        const auto fIs   = [&s](const char* psz) { return std::regex_match(s, std::regex(psz)); };
        bool       bDone = fCall(s);
        for (int iRead = 2; !bDone && fIs("TBoard_RegRead.*") && iRead <= LAST_READ; ++iRead)
        {
            bDone = fCall(s);
            o.sOutput += iRead == LAST_READ ? "Received signal: 15\n" : "";
        }
        if (!bDone && !fIs("TBoard_Reg.*"))
        {
            if (fIs("TVideoOut_Enable.*")) fCall(std::string("TVideoOut_ReleaseHandle ") + s[17]);
            o.eStatus           = fIs("Tavrin_GetDevice.*|TBoard_GetFpga.*|TBuffer_CreateVideo.*") ? TStatus_FAIL : eFailure;
            const bool bBusy    = eFailure == TStatus_RESOURCES_BUSY && fIs("TVideoOut_.* .*");  // of an output
            const int  iReports = fIs("TBoard_GetFpga.*") ? 0 : fIs("TVideoOut_(Enable|ReleaseHandle).*") ? 2 : 1;
            for (int i = bBusy; i < iReports; ++i) o.sOutput += REPORT;
            if (bBusy) o.sOutput += BUSY + s[s.find(' ') + 1] + "\\) \n";
            break;
        }
        ++uiDone;
    }

    const int iUndoFrom = uiDone >= 9 ? 0 : uiDone >= 5 ? 6 : uiDone >= 2 ? 7 : 8;  // the outputs, the buffer, the device
    bool      bHandle = true, bDisabled = true;
    for (const std::string& s : Calls(UNDO_OUTPUTS.begin() + iUndoFrom, UNDO_OUTPUTS.end()))
    {
        const bool bDisable = s.starts_with("TVideoOut_Disable"), bNeedsHandle = bDisable || s.starts_with("TVideoOut_Rel");
        if (bNeedsHandle && !bHandle) continue;
        const bool bDone = fCall(s);
        bHandle          = bNeedsHandle || bDone;
        if (!bDone && bNeedsHandle && bDisabled) o.sOutput += REPORT;
        bDisabled = bDone || !bDisable;
    }
    return o;
}

TEST_F(Fault, OfAnyCallOfTheLibraryEndsTheRunAndUndoesJustWhatWasDone)
{
    for (const TStatus eFailure : {TStatus_RESOURCES_BUSY, TStatus_FAIL, TStatus_INVALID_PARAM})
        for (const bool bFromThenOn : {false, true})
        {
            bool bFailed = true;
            for (size_t uiFailing = 0; bFailed; ++uiFailing)
            {
                SCOPED_TRACE(testing::Message()
                             << "call " << uiFailing << (bFromThenOn ? " and all behind it = " : " = ") << eFailure);
                int        iReads  = 0;
                const auto fFails  = [&](size_t ui) { return ui == uiFailing || (bFromThenOn && ui > uiFailing); };
                bFailed            = false;
                m_roBoard.eFailure = eFailure;
                m_roBoard.fFails   = [&](const std::string& s) {
                    s == "TBoard_RegRead 7932" && ++iReads == LAST_READ ? raise(SIGTERM) : 0;
                    return fFails(m_roBoard.asCalls.size() - 1) && (bFailed = true);
                };

                const SOutcome oPromised = Promised(fFails, eFailure);
                EXPECT_EQ(Run(), oPromised.eStatus);
                EXPECT_TRUE(std::regex_match(m_sOutput, std::regex(oPromised.sOutput))) << m_sOutput;
                EXPECT_EQ(m_roBoard.asCalls, oPromised.asCalls);
                EXPECT_EQ(m_roBoard.auiLoads, (std::vector<size_t>{0, m_roBoard.asCalls.size()}));
                ExpectNothingIsLeft();
            }
        }
    EXPECT_GT(m_iTried, 160);
}

// ---- The services: POSIX, the heap where it may refuse, libpng.

const std::string NO_TERM = "Failed to install SIGTERM handler!\n", NO_INT = "Failed to install SIGINT handler!\n";
const std::string NO_LIBRARY   = "[^\n]*Cannot load libTavrin.so.1[^\n]*\n" + REPORT,
                  NO_OPERATION = "[^\n]*Cannot use libTavrin\\.so\\.1: it has no T[A-Za-z]+_[A-Za-z]+\n" + REPORT;

// Calls in the order of the run: a name, and its number among those of that name. What the run prints and returns if that
// call alone fails, and if all after it fail too. The texts are regular expressions; the first row that fits counts.
const std::tuple<const char*, std::string, std::string, TStatus, TStatus> LOSSES[] = {
    {"sigaction 1", NO_TERM, NO_TERM + NO_INT + NO_LIBRARY, TStatus_OK, TStatus_FAIL},
    {"sigaction 2", NO_INT, NO_INT + NO_LIBRARY, TStatus_OK, TStatus_FAIL},
    {"dlopen 1", NO_LIBRARY, NO_LIBRARY, TStatus_FAIL, TStatus_FAIL},
    {"dlsym 1", "", NO_OPERATION, TStatus_OK, TStatus_FAIL},  // the library's own load
    {"dlsym 18|dlclose 1", "", "", TStatus_OK, TStatus_OK},   // and unload
    {"dlsym .*", NO_OPERATION, NO_OPERATION, TStatus_FAIL, TStatus_FAIL},
    {"new 1|pthread_(mutex|cond)_init 1", REPORT, REPORT, TStatus_FAIL, TStatus_FAIL},
    {"fopen 1|new [23]", "", FALL_BACK, TStatus_OK, TStatus_OK},  // the background
    {"png_create_.*_struct 1", REPORT, REPORT + FALL_BACK, TStatus_OK, TStatus_OK},
    {"fopen [34]", "", FALL_BACK, TStatus_OK, TStatus_OK},  // frames that are not counted
    {"fopen .*|new .*", FALL_BACK, FALL_BACK, TStatus_OK, TStatus_OK},
    {"png_create_.*", REPORT + FALL_BACK, REPORT + FALL_BACK, TStatus_OK, TStatus_OK},
    {"clock_gettime .*|pthread_cond_.*", "", "", TStatus_OK, TStatus_OK},  // the loop, and after it
    {"", "", "", TStatus_OK, TStatus_OK},                                  // no call has failed
};

TEST_F(Fault, OfAnyServiceCostsTheRunWhatItServedAndNoMore)
{
    for (const bool bForEver : {false, true})
    {
        std::string sFailed = "first";
        for (int iFailing = 1; !sFailed.empty(); ++iFailing)
        {
            std::map<std::string, int> oCounts, oSuccesses;
            int                        iCall = 0;
            sFailed.clear();
            g_fServiceFails = [&](const std::string& sName) {
                const int  iOfThatName = ++oCounts[sName];
                const bool bFails      = ++iCall == iFailing || (bForEver && iCall > iFailing);
                if (bFails && sFailed.empty()) sFailed = sName + " " + std::to_string(iOfThatName);
                oSuccesses[sName] += !bFails;
                return bFails;
            };
            const TStatus eStatus = Run();

            SCOPED_TRACE(sFailed + (bForEver ? " and all behind it" : ""));
            const auto poLoss = std::find_if(std::begin(LOSSES), std::end(LOSSES), [&](const auto& ro) {
                return std::regex_match(sFailed, std::regex(std::get<0>(ro)));
            });
            ASSERT_NE(poLoss, std::end(LOSSES)) << "a call that nobody thought of";
            const auto& [pszCalls, sOnce, sForEver, eOnce, eForEver] = *poLoss;
            EXPECT_EQ(eStatus, bForEver ? eForEver : eOnce);
            EXPECT_TRUE(std::regex_match(m_sOutput, std::regex(bForEver ? sForEver : sOnce))) << m_sOutput;
            const Calls& asCalls = m_roBoard.asCalls;
            const auto   iUndo   = std::ssize(asCalls) - std::ssize(UNDO_OUTPUTS);
            EXPECT_TRUE(eStatus != TStatus_OK ? asCalls.size() <= 1
                                              : iUndo > 0 && Calls(asCalls.begin() + iUndo, asCalls.end()) == UNDO_OUTPUTS);
            EXPECT_EQ(oCounts["dlclose"], oSuccesses["dlopen"]);
            EXPECT_EQ(oCounts["pthread_cond_destroy"], oSuccesses["pthread_cond_init"]);
            ExpectNothingIsLeft();
        }
    }
    EXPECT_GT(m_iTried, 80);
}

// Sixteen thousand seconds on a clock that only the waits advance. The steps do not drift, and no step leaves anything
// behind. The frames come over the background in their order.
TEST_F(Fault, NoneInAMillionSteps)
{
    constexpr KUINT64 STEP_NS = 16'000'000, STEPS = 1'000'000;
    const auto        fHeld = [] {
        std::ifstream oMaps("/proc/self/maps");
        return std::array{std::ptrdiff_t{s_iAllocations}, EntriesOf("/proc/self/fd"),
                          std::count(std::istreambuf_iterator<char>(oMaps), {}, '\n')};
    };
    auto    aiHeld  = fHeld();
    KUINT64 uiWaits = 0;
    MakePictures(3);
    m_uiStepMs              = 16;
    m_uiEnableTime          = 16000;
    m_roBoard.bRecordsReads = false;
    m_roBoard.fProgress     = [&] { return static_cast<KUINT32>(uiWaits % 100); };
    const auto fExpected    = [&](KUINT32 x, KUINT32 y) -> KUINT32 {
        const bool bBar = x >= 20 && x <= 60 && y >= 40 && y <= 50, bInside = x > 20 && x < 60 && y > 40 && y < 50;
        if (bBar) return !bInside || x < 20 + 40 * (uiWaits % 100) / 100 ? 0x00FFFFFF : 0;
        const KUINT32 uiStored = 60 * KUINT32(uiWaits % 3 + 1) + ((y - 5) * 20 + x - 10) % 13;
        const KUINT32 uiFrame  = (uiStored * 128 + (40 + y % 2) * 127) / 255;
        return x >= 10 && x < 30 && y >= 5 && y < 15 ? 0xFF000000 + uiFrame * 0x010101 : (40 + y % 2) * 0x01010101;
    };
    s_uiFakeNs = 1'700'000'000'000'000'000;
    s_fOnWait  = [&](KUINT64 uiDeadlineNs) {
        g_bStopSignal = HasFailure();
        EXPECT_EQ(uiDeadlineNs, s_uiFakeNs + STEP_NS);
        s_uiFakeNs        = uiDeadlineNs;
        const auto fShown = [&](KUINT32 x, KUINT32 y) { return m_roBoard.puiMapped[y * (80 + 16) + x]; };
        EXPECT_TRUE(uiWaits == 0 || uiWaits > 200 ? testing::AssertionSuccess() : IsPicture(80, 60, fShown, fExpected));
        for (const auto& [x, y] : {std::pair{10u, 5u}, {KUINT32(21 + 40 * (uiWaits % 100) / 100), 45u}})
            EXPECT_TRUE(uiWaits == 0 || fShown(x, y) == fExpected(x, y)) << "step " << uiWaits << " at " << x << ',' << y;
        if (++uiWaits == 2) aiHeld = fHeld(), aiHeld[0] = s_iAllocations;  // with those of the look itself
        EXPECT_TRUE(uiWaits != STEPS || fHeld() == aiHeld) << "allocations, files or mappings were added";
    };
    const int iAllocationsBefore = s_iAllocations;
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(m_sOutput, "");
    EXPECT_EQ(uiWaits, STEPS + 1) << "one more wait when the time is over";
    EXPECT_GT(aiHeld[0], iAllocationsBefore) << "the count counts nothing";
    RecordProperty("Tried", static_cast<int>(uiWaits));
}
}
