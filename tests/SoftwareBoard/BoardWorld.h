// A world for one test: a folder of its own for the board, and processes that are its clients. The test itself never opens
// the library, so each client begins with a fresh one.
#ifndef BOARD_WORLD_H
#define BOARD_WORLD_H

#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>

#include "Board.h"
#include "BoardError.h"
#include "Screen.h"
#include "TavrinOperations.h"
#include "TestSupport.h"

#define OPERATION(Result, Name, Parameters, Arguments) \
    decltype(&::Name) Name = reinterpret_cast<decltype(&::Name)>(dlsym(m_pLibrary, #Name));

// The library as a client has it after dlopen, and what a client usually has in its hands.
struct TestClient
{
    const char* pszLibrary = TAVRIN_LIBRARY;
    void*       m_pLibrary = dlopen(pszLibrary, RTLD_NOW | RTLD_LOCAL);
    TAVRIN_OPERATION_TABLE(OPERATION)
    TDevice_Handle hDev    = Tavrin_GetDevice(0);
    TBuffer_Handle hBuffer = nullptr;

    TBuffer_Handle MakeBuffer(KUINT32 uiWidth = 32, KUINT32 uiHeight = 8)
    {
        EXPECT_EQ(TBuffer_CreateVideo(hDev, TPixelFormat_R8G8B8A8, uiWidth, uiHeight, &hBuffer), TStatus_OK);
        return hBuffer;
    }
    KUINT8* Access()
    {
        void* pPlane = nullptr;
        EXPECT_EQ(TBuffer_BeginAccess(hBuffer, 0, 1, reinterpret_cast<KUINTPTR*>(&pPlane)), TStatus_OK);
        return static_cast<KUINT8*>(pPlane);
    }
    TVideoOut_Handle Output(KUINT32 uiOutput)
    {
        TVideoOut_Handle hVideoOut = nullptr;
        EXPECT_EQ(TVideoOut_GetHandle(hDev, uiOutput, TAccessMode_READWRITE, &hVideoOut), TStatus_OK);
        return hVideoOut;
    }
    TStatus Show(TVideoOut_Handle hVideoOut, KUINT32 uiHActive = 32, KUINT32 uiVActive = 8, KUINT32 uiSignal = 0,
                 KUINT32 uiPower = TVideoOut_PowerState_ON)
    {
        const tagTVideo_VidParam oVidParam = {.uiHActive = uiHActive, .uiVActive = uiVActive, .uiVRate_Hz = 60};
        return TVideoOut_Enable(hVideoOut, TVideo_SignalType{uiSignal}, &oVidParam, hBuffer, TVideoOut_PowerState{uiPower});
    }
    TStatus Enable(KUINT32 uiOutput) { return Show(Output(uiOutput)); }
    TStatus Disable(KUINT32 uiOutput) { return TVideoOut_Disable(Output(uiOutput)); }
};

// A process that runs a body; expectations that fail in there make it fail. In the body Pause() stops it unless an
// expectation failed, Await() here waits for that, and Resume() lets it go on. Signals act on it as by default, also where
// nohup or a shell's background job started the tests.
class Process
{
public:
    explicit Process(const std::function<void()>& fBody)
    {
        std::fflush(nullptr);
        if ((m_iPid = fork()) != 0) return;
        StartAfresh();
        fBody();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
    ~Process()
    {
        Resume();
        Wait(0, 0);
    }
    Process(const Process&) = delete;

    static void Pause() { testing::Test::HasFailure() ? std::exit(1) : static_cast<void>(raise(SIGSTOP)); }
    void        Await() { Wait(WUNTRACED, W_STOPCODE(SIGSTOP)); }
    void        Resume()  // never a process that runs: the signal would take a stop away that is on its way
    {
        if (std::exchange(m_bStopped, false)) kill(m_iPid, SIGCONT);
    }
    void Kill(int iSignal = SIGKILL, int iExpectedStatus = SIGKILL)
    {
        if (m_iPid != 0) kill(m_iPid, iSignal);  // 0 would be everybody here, also who runs the tests
        Wait(0, iExpectedStatus);
    }
    pid_t GetPid() const { return m_iPid; }

private:
    // Handlers stay: those of a sanitizer tell of a crash.
    static void StartAfresh()
    {
        struct sigaction oAction;
        for (int iSignal = 1; iSignal < NSIG; ++iSignal)
            if (sigaction(iSignal, nullptr, &oAction) == 0 && oAction.sa_handler == SIG_IGN) signal(iSignal, SIG_DFL);
        sigset_t oNone;
        sigemptyset(&oNone);
        sigprocmask(SIG_SETMASK, &oNone, nullptr);
    }
    void Wait(int iOptions, int iExpectedStatus)
    {
        int iStatus = 0;
        if (m_iPid == 0) return;
        EXPECT_EQ(waitpid(m_iPid, &iStatus, iOptions), m_iPid);
        EXPECT_EQ(iStatus, iExpectedStatus) << "of a process; what it printed stands above";
        m_bStopped = WIFSTOPPED(iStatus);
        m_iPid     = m_bStopped ? m_iPid : 0;
    }
    pid_t m_iPid     = 0;
    bool  m_bStopped = false;
};

struct BoardWorld : testing::Test
{
    BoardWorld() { setenv("TAVRIN_BOARD", m_oFolder.c_str(), 1); }

    static SoftwareBoard::SBoardPlan Plan(KUINT32 uiDevices)
    {
        return {.uiDeviceCount = uiDevices, .aoFpgas = SoftwareBoard::DefaultPlan().aoFpgas};
    }
    static void InClient(const std::function<void(TestClient&)>& fBody)
    {
        Process([&] {
            TestClient o;
            fBody(o);
        });
    }
    // The body of a process that shows a buffer on output 0 until it is resumed.
    static void HoldOutput()
    {
        TestClient oClient;
        oClient.MakeBuffer();
        *oClient.Access() = 200;
        EXPECT_EQ(oClient.Enable(0), TStatus_OK);
        Process::Pause();
    }
    struct Holder : Process
    {
        Holder() : Process(HoldOutput) { Await(); }
    };
    static SoftwareBoard::Screen Observe(const SoftwareBoard::SOutputRecord& roOutput)
    {
        const auto oBoard = SoftwareBoard::Board::Observe();
        return {SoftwareBoard::Transaction(oBoard.m_oLocks), oBoard.m_oFolder, oBoard.m_oState, roOutput};
    }
    // clang-format off
    template <class TCall> static std::string ReasonOf(TCall fCall)
    {
        try { return fCall(), ""; } catch (const SoftwareBoard::BoardError& ro) { return ro.what(); }
    }
    // clang-format on
    long CountFiles(const std::string& strPrefix) const
    {
        const auto fCounts = [&](const auto& ro) { return ro.path().filename().string().starts_with(strPrefix); };
        return std::count_if(std::filesystem::directory_iterator(m_oFolder), {}, fCounts);
    }

    TestFolder                   m_oTestFolder;
    const std::filesystem::path& m_oFolder = m_oTestFolder.oPath;
};

#endif
