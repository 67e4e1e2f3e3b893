// Records of runs: what is written, what a replay makes of it, and what damage costs.
#include "PanelWorld.h"
#include "RecordFile.h"
#include "RecordReader.h"
#include "ReplayProgress.h"
#include "Utf8Text.h"

namespace
{
using namespace SoftwareBoard::Recorder;

const std::string TOOL = std::string(" -- ") + (fs::path(BOARD_PANEL).parent_path() / "QelProgressBarDisplay").string();

struct RecordTest : PanelWorld
{
    // A record of a run that ends at once, because the update is over, and leaves its picture on the outputs.
    std::string Record(const std::string& strArguments = " -p 1 2 300 40 -l 16 -et 60")
    {
        Expect("create --outputs 3 --fpga 3:1.33.0 --fpga 5:2.13.45@11", 0, "");
        Expect("progress 100", 0, "");
        Expect("record " + m_strRecord + TOOL + strArguments, 0, "");
        return ReadFile(m_strRecord);
    }
    void Write(const std::string& strText) const { std::ofstream(m_strRecord) << strText; }

    const std::string m_strRecord = At("run.json");
};

std::string Replaced(std::string strText, const std::string& strOld, const std::string& strNew)
{
    return strText.replace(strText.find(strOld), strOld.size(), strNew);
}

TEST_F(RecordTest, AReplayShowsTheSamePictureAndDepartsWhereTheCallsDo)
{
    const std::string strOptions   = " -p 1 2 300 40 -l 16 -et 60 -i " DEMO_FOLDER "/frame01.png",
                      strArguments = TOOL + strOptions;
    const auto fPicture = [&] { return Expect("snapshot 2 " + At("picture.png"), 0, ""), ReadFile(At("picture.png")); };
    const std::string strText = Record(strOptions + " >" + At("said")), strPicture = fPicture();
    Expect("run" + strArguments + " >" + At("said-before"), 0, "");
    EXPECT_EQ(fPicture(), strPicture);
    EXPECT_EQ(ReadFile(At("said")), ReadFile(At("said-before")));
    EXPECT_NE(ReadFile(At("said")), "");
    Expect("create --outputs 1", 0, "");
    Expect("replay " + m_strRecord + strArguments, 0, "");
    EXPECT_EQ(fPicture(), strPicture);
    Expect("status", 0, "FPGA 1: device code 0x0005, version 2.13.45, address 0x11, vendor 0xc3e7");
    Expect("status", 0, "register 7932 (progress): 0x00000064 (100 %)");
    Expect("describe " + m_strRecord + " | tail -5", 0,
           "left enabled: output 0 of device 1, output 1 of device 1, output 2 of device 1\n");

    const size_t                                                 uiLast    = strText.find("{\"end\"");
    const std::tuple<std::string, std::string, int, std::string> aoCases[] = {
        // the record, the arguments of the tool, the status, what is said
        {strText, " -d 9" + strOptions, 3, "line 3 of the record: expected Tavrin_GetDevice(0), came the end"},
        {strText, " -p 1 2 300 40 -l 16", 3, ", came TVideoOut_GetHandle(device 1, 0, 2, phVideoOut)"},
        {Replaced(strText, "\"uiVActive\":768", "\"uiVActive\":767"), "", 3,
         " of the record: expected TVideoOut_Enable(output 1, 0, {uiHActive 1024 uiVActive 767"},
        {Replaced(strText, "\"result\":1", "\"result\":0"), "", 3, "line 3"},
        // A board whose numbers do not fit each other is drawn on all the same.
        {Replaced(Replaced(strText, "Pitch\":[1040", "Pitch\":[100000"), "PitchInBytes\":[4160", "PitchInBytes\":[4"), "", 0,
         ""},
        {Replaced(strText, "Height\":[768", "Height\":[4294967295"), "", 1, ": the planes of the buffer are too large"},
        {strText, " -- no-such-command", 1, "no-such-command: exec"},
        {strText.substr(0, uiLast), "", 0, ""},
        {strText.substr(0, uiLast - 2), "", 1, "it is cut here"},
        {"notes", "", 1, m_strRecord + ": not a record"},
    };
    for (const auto& [strRecord, strOther, iStatus, strSaid] : aoCases)
    {
        Write(strRecord);
        const std::string strCommand = strOther.starts_with(" --") ? strOther : TOOL + strOther;
        Expect("replay --fast " + m_strRecord + (strOther.empty() ? strArguments : strCommand), iStatus, strSaid);
    }
    EXPECT_EQ(CountFiles("board.replay"), 0);
    Expect("create", 0, "");
    Holder oUser;
    Write(strText);
    Expect("replay " + m_strRecord + strArguments, 1, "in use");
}

TEST_F(RecordTest, TheOrderOfTheCallsIsAsInTheRecords)
{
    const auto fUnpack = [&](const std::string& strName, const std::string& strEdit) {
        ASSERT_EQ(std::system(("zcat " RECORDS "/" + strName + ".gz | sed '" + strEdit + "' >" + m_strRecord).c_str()), 0);
    };
    fUnpack("demo", "");
    Expect("describe " + m_strRecord + " | tail -5", 0,
           "\n119 calls, 0 failed\nsteps: 99 of 40 ms, late by 0.196 ms at the median and 40.008 ms at most\n"
           "left enabled: output 0 of device 1, output 1 of device 1\nended with status 0\n");
    Expect("describe " CORPUS "/Record/foreign | sed '4d; 6,8d; 11,18d; 20,34d; 37,51d'", 0,
           "command: a ??\nlibrary: /lib/x\n\n       1      1        1.000     10.000  Tavrin_GetDevice(0) = device 1\n"
           "       5      1        5.000      0.000  TBoard_GetFpgaCount(device 2, puiCount) = OK, puiCount 4294967295\n"
           "!      6      1        6.000      0.000  TBoard_GetFpgaCount(null, null) = -2147483648\n"
           "!     15      1       15.000      0.000  TBuffer_GetPlaneInfo(buffer 1, poPlaneInfo) = INVALID_PARAM\n"
           "      31      1       31.000 4000000000000.000  TBuffer_EndAccess(buffer 1) = OK\n"
           "      32      1       32.000     10.000  TVideoOut_ReleaseHandle(output 1) = OK\n\n47 calls, 6 failed\n"
           "steps: 1\nleft enabled: output 0 of device 1, output 99 of device 2\nended with status 255 in "
           "Tavrin_GetDevice(0), called at 90 ms, after signal 10 (User defined signal 1) at 32 ms\n");
    Expect("describe " + m_strRecord + " | grep -c '^ *[.][.][.] 40[.][0-9]* ms'", 0, "62\n");
    const std::string strDemo = " -i " DEMO_FOLDER "/background.png -f " DEMO_FOLDER "/frame -a 448 216 576 344";
    Expect("replay --fast " + m_strRecord + TOOL + strDemo + " -p 192 560 832 584 -l 16 -et 300", 0, "");
    // These calls are said to have taken an age, which --fast does not wait for.
    fUnpack("teardown", "s/\"took\":[0-9]*/\"took\":4000000000000000000/");
    Expect("replay --fast " + m_strRecord + TOOL + " -p 1 2 300 40 -l 16", 0, "");
    // The board of a replay has each FPGA and output once, however often it was asked about.
    Expect("create --outputs 1 --fpga 3:1.33.0 --fpga 5:2.13.45@11", 0, "");
    Expect("record " + m_strRecord + " -- " + (fs::path(BOARD_PANEL).parent_path() / "QelBoardCheck").string(), 0, "");
    Expect("replay --fast " + m_strRecord + " -- " BOARD_PANEL " status 2>&1 | grep -cE 'FPGA|output'", 0, "3\n");
}

// What is in no line of its own: a call that did not return, a signal, what could not be written.
TEST_F(RecordTest, TheEndOfARecordTellsHowTheRunEnded)
{
    setenv("BAD_BOARD_LIBRARY", TAVRIN_LIBRARY, 1);
    const std::string strTool = TOOL.substr(4), strBad = "--library " BAD_LIBRARY " ", strOptions = " -l 16";
    const std::string strKill =
        " -- sh -c '(" BOARD_PANEL " wait --shown; kill -TERM $PPID) & exec " + strTool + strOptions + "'";
    // the fault of the board, the arguments of record, the status, what is described, the status of a replay
    const std::tuple<const char*, std::string, int, const char*, int> aoCases[] = {
        {"crash TVideoOut_Enable 2", strBad + m_strRecord + TOOL + strOptions, 128 + SIGSEGV,
         "ended by signal 11 (Segmentation fault) in TVideoOut_Enable(output 2, 0, {uiHActive 1024 ", 128 + SIGSEGV},
        {"-3 TVideoOut_Enable 2", strBad + m_strRecord + TOOL + strOptions, 253, "\n! ", 253},
        {"", m_strRecord + strKill, 0, "ended with status 0, after signal 15 (Terminated) at ", 0},
        {"", m_strRecord + " -- sh -c '" + strTool + " -d 7; (ulimit -f 0; " + strTool + " -d 7); " + strTool + " -d 7'",
         255, "\n1 calls, 0 failed\nsteps: 0\nleft enabled: nothing\nline 3 of the record: it is cut here", 1},
    };
    for (const auto& [pszFault, strRecord, iStatus, pszDescribed, iReplayed] : aoCases)
    {
        setenv("BAD_BOARD", pszFault, 1);
        Expect("create", 0, "");
        Expect("record " + strRecord, iStatus, "");
        Expect("describe " + m_strRecord, 0, pszDescribed);
        Expect("replay --fast " + m_strRecord + TOOL + strOptions, iReplayed, "");
    }
}

TEST_F(RecordTest, TheCommandRunsAsWithoutTheRecord)
{
    Dl_info oLibc = {};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&getpid), &oLibc), 0);
    std::ofstream(At("half.so")) << ReadFile(TAVRIN_LIBRARY).substr(0, 8192);
    const std::string strTouch = " -- touch " + At("ran"), strTool = TOOL.substr(4);
    // the arguments, the status, what is said; with status 1 or 2 nothing has run, and the record of before stays
    const std::tuple<std::string, int, std::string> aoCases[] = {
        {"--library " + At("none") + " " + m_strRecord + strTouch, 1, "there is no device library"},
        {"--library libc.so.6 " + m_strRecord + strTouch, 1, "there is no device library"},
        {"--library " + std::string(oLibc.dli_fname) + " " + m_strRecord + strTouch, 1, "it has no Tavrin_GetDeviceCount"},
        {"--library " + At("half.so") + " " + m_strRecord + strTouch, 1, "half.so: it crashes when it is opened"},
        {"--library " RECORDING_LIBRARY " " + m_strRecord + strTouch, 1, "it is the recording library"},
        {At("none/x") + strTouch, 1, "none/x: open"},
        {"/dev/full" + strTouch, 1, "/dev/full: write"},
        {m_strRecord, 2, "COMMAND"},
        {m_strRecord + " -- no-such-command", 1, "no-such-command: exec"},
        {m_strRecord + " -- /etc/passwd", 1, "/etc/passwd: exec"},
        {m_strRecord + " -- sh -c 'exit 7'", 7, "called no device library"},
        {m_strRecord + " -- sh -c 'kill -KILL $$'", 128 + SIGKILL, "called no device library"},
        {m_strRecord + " -- sh -c 'kill -INT $PPID; exec sleep 9'", 128 + SIGINT, ""},
        {m_strRecord + " -- sh -c 'rm " + m_strRecord + "; " + strTool + " -d 7'", 255, "called no device library"},
        {m_strRecord + " -- sh -c '(ulimit -f 0; " + strTool + " -d 7)'", 255, "the record is cut"},
        {m_strRecord + " -- sh -c 'kill -KILL $PPID; sleep 9 >&- 2>&-; touch " + At("ran") + "'", 128 + SIGKILL, ""},
        {m_strRecord + " -- sh -c 'trap \"echo it >&2; exit 5\" TERM; kill $PPID; sleep 9 >&- 2>&- & wait'", 5, "it\n"},
    };
    Expect("create", 0, "");
    for (const auto& [strArguments, iStatus, strSaid] : aoCases)
    {
        Write("of before\n");
        Expect("record " + strArguments, iStatus, strSaid);
        EXPECT_EQ(ReadFile(m_strRecord) == "of before\n", iStatus <= 2) << strArguments;
    }
    Expect("describe " + At("none"), 1, "none: open: No such file or directory");
    EXPECT_FALSE(fs::exists(At("ran")));
    EXPECT_NE(ReadFile(m_strRecord).find("\n{\"end\":{\"exit\":5},\"signals\":[{\"signal\":15,\"at\":"), std::string::npos);
    Expect("record " + m_strRecord + " -- sh -c '" BOARD_PANEL " progress 0; " + strTool + " -d 7'", 255, "");
    Expect("describe " + m_strRecord, 0, "1 calls, 0 failed");
    fs::create_directory(At("other"));
    fs::copy(TAVRIN_LIBRARY, At("other/libTavrin.so.1"));
    setenv("BAD_BOARD_LIBRARY", TAVRIN_LIBRARY, 1);
    Expect("record --library " BAD_LIBRARY " " + m_strRecord + TOOL + " -d 7", 255, "");
    Expect("describe " + m_strRecord, 0, "library: " BAD_LIBRARY);
    setenv("LD_LIBRARY_PATH", ("/none:" + At("other") + ":/none").c_str(), 1);
    Expect("record " + m_strRecord + TOOL + " -d 7", 255, "");
    unsetenv("LD_LIBRARY_PATH");
    Expect("describe " + m_strRecord, 0, "library: " + At("other/libTavrin.so.1"));
}

TEST_F(RecordTest, EveryCallOfEveryThreadAndProcessHasItsLine)
{
    Expect("create", 0, "");
    Write("{\"record\":1,\"library\":\"x\",\"command\":[]}\n");
    setenv(RECORD_FILE_VARIABLE, m_strRecord.c_str(), 1);
    setenv(RECORD_LIBRARY_VARIABLE, TAVRIN_LIBRARY, 1);
    const auto fRead = [](TestClient& ro) {
        for (KUINT32 ui = 0, uiValue = 0; ui < 200; ++ui) EXPECT_EQ(ro.TBoard_RegRead(ro.hDev, 7932, &uiValue), TStatus_OK);
    };
    // A command may close what it does not know, and another file gets the number. Returns it.
    const auto fReplace = [&] {
        int iReplaced = -1, iOpen = 0;
        for (const auto& roFd : fs::directory_iterator("/proc/self/fd"))
            if (fs::read_symlink(roFd) == m_strRecord) ++iOpen, iReplaced = std::stoi(roFd.path().filename());
        EXPECT_LE(iOpen, 2) << "more than its own and that of the process that it was forked from";
        if (iReplaced >= 0) dup2(STDERR_FILENO, iReplaced);
        return iReplaced;
    };
    const auto fRun = [&](const char* pszLibrary, bool bKeepsOpen) {
        TestClient o{pszLibrary};
        for (std::jthread aoThreads[3]; auto& ro : aoThreads) ro = std::jthread(fRead, std::ref(o));
        const auto fReplaceAndRead = [&] {
            const int iReplaced = fReplace();
            EXPECT_EQ(iReplaced >= 0, bKeepsOpen);
            fRead(o);
            EXPECT_TRUE(iReplaced < 0 || fcntl(iReplaced, F_GETFD) >= 0) << "it was not the library's any more";
        };
        const auto oBegin = std::chrono::steady_clock::now();
        if (fork() == 0) _exit((o.hDev = o.Tavrin_GetDevice(0), fReplaceAndRead(), testing::Test::HasFailure()));
        int iStatus = 0;
        wait(&iStatus);
        EXPECT_EQ(iStatus, 0);
        fReplaceAndRead();
        reinterpret_cast<TStatus (*)()>(dlsym(o.m_pLibrary, "Tavrin_UnLoad"))();
        dlclose(o.m_pLibrary);
        EXPECT_NE(TestClient{pszLibrary}.hDev, nullptr);
        EXPECT_TRUE(bKeepsOpen || std::chrono::steady_clock::now() - oBegin < std::chrono::seconds(1)) << "it waits in vain";
    };
    Process([&] { fRun(RECORDING_LIBRARY, true); });
    const std::string           strText = ReadFile(m_strRecord);
    RecordReader                oReader(strText, m_strRecord);
    std::map<KUINT32, unsigned> oCalls;
    while (const auto ooCall = oReader.Next()) ++oCalls[ooCall->uiThread];
    EXPECT_NE(oReader.GetDamage().find("line 1005 of the record: it is cut"), std::string::npos) << oReader.GetDamage();
    EXPECT_EQ(oCalls, (std::map<KUINT32, unsigned>{{1, 201}, {2, 200}, {3, 200}, {4, 200}, {5, 201}, {6, 1}}));
    const auto oProgress = ReplayProgress::Make(SoftwareBoard::BoardFolder::Open());
    setenv(REPLAY_FILE_VARIABLE, m_strRecord.c_str(), 1);
    setenv(REPLAY_FAST_VARIABLE, "1", 1);
    Process([&] { fRun(REPLAYING_LIBRARY, false); });
    EXPECT_EQ(oProgress.Read().uiCalls, 1003u) << oProgress.Read().acText.data();
}

// Makes the calls of a record, with the handles and the memory that they need.
struct Player
{
    void Play(const SCall& roCall)
    {
        const SOperation& roOperation = roCall.Row();
        Words             auiWords    = {};
        aui.fill(0xA5A5A5A5A5A5A5A5);
        for (size_t ui = 0; ui < roOperation.uiParameters; ++ui)
        {
            const auto& [svName, oType] = roOperation.aoParameters[ui];
            const Json& roValue         = roCall.oArguments.at(svName);
            if (roValue.is_object()) WriteRecord(oType.aoFields, roValue, aui.data(), sizeof(aui));
            auiWords[ui] = roValue.is_object()   ? ToWord(aui.data())
                           : roValue.is_string() ? oHandles.try_emplace(roValue, 0x77).first->second
                           : roValue.is_number() ? roValue.get<KUINT64>()
                                                 : 0;
        }
        const KUINT64 uiResult = roOperation.pfnInvoke(dlsym(oClient.m_pLibrary, roOperation.svName.data()), auiWords);
        if (roCall.oResult.is_string()) oHandles[roCall.oResult] = uiResult;
        for (const char* pszHandle : {"phBuffer", "phVideoOut"})
            if (roCall.oFilled.contains(pszHandle)) oHandles[roCall.oFilled[pszHandle]] = aui[0];
    }
    KUINT8* Plane(size_t ui) const { return reinterpret_cast<KUINT8*>(aui[ui]); }

    TestClient              oClient{RECORDING_LIBRARY};
    std::array<KUINT64, 16> aui;  // what a pointer points to
    std::map<Json, KUINT64> oHandles = {{"device 1", ToWord(oClient.hDev)}};
};

// An odd library: rows without padding, three planes, counts and sizes that are too large, texts that are no UTF-8, failures
// that fill something in, handles that are null. What is recorded of its replay is its record.
TEST_F(RecordTest, AReplayIsTheLibraryOfItsRecord)
{
    const std::string strFile = CORPUS "/Record/foreign", strText = ReadFile(strFile);
    const auto        oBoard    = SoftwareBoard::Board::Create({.uiDeviceCount = 2, .uiOutputCount = 3, .aoFpgas = {}});
    const auto        oProgress = ReplayProgress::Make(oBoard.m_oFolder);
    Write("");
    setenv(REPLAY_FILE_VARIABLE, strFile.c_str(), 1);
    setenv(RECORD_FILE_VARIABLE, m_strRecord.c_str(), 1);
    setenv(RECORD_LIBRARY_VARIABLE, REPLAYING_LIBRARY, 1);
    unsetenv(REPLAY_FAST_VARIABLE);
    const auto  fPixels = [&] { return ReadFile(At("board.pixels-1")).substr(0, 400 * 128); };
    std::string strDrawn(400 * 128, '\0');  // rows of 32 pixels of 4 bytes
    for (size_t ui = 0; ui < 3 * 84; ++ui)
        if (ui % 84 < 80) strDrawn[ui / 84 * 128 + ui % 84] = char(ui + 1);
    static int s_iSignals = 0;
    Holder     oHolder;                                 // of an output that the client wants too
    std::ofstream(At("board.pixels-7")) << "TAVRINPX";  // left by a process that was killed
    Process oClient([&] {
        const auto   oBegin = std::chrono::steady_clock::now();
        Player       o;
        RecordReader oReader(strText, strFile);
        EXPECT_GE(std::chrono::steady_clock::now() - oBegin, std::chrono::nanoseconds(9999999));
        signal(SIGUSR1, [](int) { ++s_iSignals; });
        signal(SIGTERM, [](int) { s_iSignals += 9; });
        alarm(9);
        const auto fTakePlanes = [&](std::initializer_list<size_t> auiSizes) {
            for (size_t ui = 0; ui < auiSizes.size(); ++ui)
                std::iota(o.Plane(ui), o.Plane(ui) + auiSizes.begin()[ui], KUINT8(ui + 1));
            for (size_t ui = 0; ui < auiSizes.size(); ++ui)
                for (size_t uiByte = 0; uiByte < auiSizes.begin()[ui]; ++uiByte)
                    ASSERT_EQ(o.Plane(ui)[uiByte], KUINT8(uiByte + ui + 1)) << "plane " << ui << " lies in another";
        };
        oReader.Next();
        Process([] { _exit(0); });  // the parent of a fork goes on
        std::thread oEarly;
        for (KUINT8* puiPicture = nullptr; const auto ooCall = oReader.Next();)
        {
            o.Play(*ooCall);
            EXPECT_EQ(std::count(o.aui.begin() + 11, o.aui.end(), 0xA5A5A5A5A5A5A5A5), 5) << "more was written";
            switch (ooCall->uiLine - 1)
            {
            case 8: EXPECT_EQ(o.aui[8] >> 48, 0xA5A5) << "more than the size that it was given"; break;
            case 12: EXPECT_FALSE(fs::exists(At("board.pixels-7"))); break;
            case 22:
                fTakePlanes({400 * 128, 409 * 1200});
                puiPicture = o.Plane(0);
                break;
            case 26: EXPECT_EQ(o.aui[5] >> 32, 0xFFFFEF3F) << "bits of the timings"; break;
            case 30:
                EXPECT_TRUE(Becomes([&] { return fPixels() == strDrawn; })) << "a picture shows while it is drawn";
                sigset_t oSet;
                sigemptyset(&oSet);
                sigaddset(&oSet, SIGUSR2);
                sigprocmask(SIG_BLOCK, &oSet, nullptr);
                kill(getpid(), SIGUSR2);  // which would end the process in another thread
                Process::Pause();
                puiPicture[0] = 99;
                break;
            case 31: EXPECT_EQ(fPixels()[0], 99); [[fallthrough]];
            case 32: EXPECT_EQ(s_iSignals, 1); break;
            case 33: fTakePlanes({12000, 2 * 12000, 3 * 16000}); [[fallthrough]];
            case 35: EXPECT_EQ(o.aui[3], 0xA5A5A5A5A5A5A5A5); break;
            case 41:
                *o.Plane(0) = 98;
                EXPECT_EQ(ReadFile(At("board.pixels-1"))[0], 98);
                break;
            case 43:  // another thread makes the call after the next too early
                oEarly =
                    std::thread([&] { EXPECT_EQ(o.oClient.TBoard_RegWrite(FromWord<TDevice_Handle>(0x77), 6908, 1), 0); });
                usleep(2000);  // if it comes later still, nothing is tried
                break;
            case 44: oEarly.join(), oReader.Next(); break;
            }
        }
        EXPECT_EQ(s_iSignals, 1 + 9) << "the end of a replay that fails";
    });
    oClient.Await();
    const auto fOutput = [&](KUINT32 uiDevice, KUINT32 uiOutput) {
        const auto                       oSeen = SoftwareBoard::Board::Observe();
        const SoftwareBoard::Transaction oTransaction(oSeen.m_oLocks);
        const auto                       o = oSeen.m_oState.ReadOutput(oTransaction, uiDevice, uiOutput);
        return std::tuple(oSeen.m_oLocks.IsOutputHeldByAnother(uiDevice, uiOutput), o.bEnabled, o.iHolderPid,
                          o.oVidParam.uiHActive, o.uiBufferWidth, o.uiBufferHeight);
    };
    EXPECT_EQ(fOutput(1, 2), std::tuple(true, 1u, oClient.GetPid(), 18u, 20u, 400u));
    EXPECT_EQ(fOutput(0, 0), std::tuple(true, 1u, oHolder.GetPid(), 32u, 32u, 8u));
    EXPECT_EQ(oBoard.m_oState.ReadRegister(1, 6908), 305419896u);
    EXPECT_EQ(oBoard.m_oState.ReadRegister(1, 7932), 77u);
    oClient.Resume();
    oClient.Kill(0, 0);
    EXPECT_EQ(fOutput(1, 2), std::tuple(false, 0u, 0, 0u, 0u, 0u));
    EXPECT_EQ(CountFiles("board.pixels"), 1) << "of the holder";

    const auto fCalls = [](const std::string& str) {
        // The early call and the one that it waits for return together, so their order in the new record varies.
        return std::regex_replace(str, std::regex(R"(\{"call":\d+,"at":\d+,"took":\d+,("thread":2,.*\n)?)"), "");
    };
    std::string strExpected = fCalls({strText, strText.find('\n') + 1, strText.find("{\"end\"") - strText.find('\n') - 1});
    EXPECT_EQ(fCalls(ReadFile(m_strRecord)), strExpected.replace(strExpected.rfind("\"status\":0") + 9, 1, "-1"));
    EXPECT_NE(ReadFile(m_strRecord).find(R"("thread":2,"operation":"TBoard_RegWrite")"), std::string::npos);
    EXPECT_STREQ(oProgress.Read().acText.data(), "line 47 of the record: no earlier call made this buffer");
}

TEST(RecordText, IsReadUpToItsDamage)
{
    const std::string strText = ReadFile(CORPUS "/Record/foreign"), strHeader = strText.substr(0, strText.find('\n') + 1);
    std::map<std::string, std::string> oOperations;  // of lines
    // Returns how many calls are read of a text, and what is said of its damage or of what is no record.
    const auto fRead = [&](const std::string& strRecord) {
        std::ptrdiff_t iCalls = 0;
        try
        {
            RecordReader oReader(strRecord, "x");
            for (; const auto ooCall = oReader.Next(); ++iCalls)
                oOperations.try_emplace(std::to_string(ooCall->uiLine), ooCall->Row().svName);
            EXPECT_FALSE(oReader.Next());
            return std::pair(iCalls, oReader.GetDamage());
        }
        catch (const SoftwareBoard::BoardError& roError)
        {
            return std::pair(iCalls, std::string(roError.what()));
        }
    };
    EXPECT_EQ(fRead(strText), std::pair(std::ptrdiff_t{47}, std::string()));
    for (size_t ui = 0; ui + 1 < strText.size(); ui = std::min(ui + 41, std::max(strText.find('\n', ui), ui + 1)))
    {
        const std::string strCut = strText.substr(0, ui);  // a line of which only the end is missing is whole
        const auto        iLines = std::count(strCut.begin(), strCut.end(), '\n') + (strText[ui] == '\n');
        EXPECT_EQ(fRead(strCut), std::pair(std::max<std::ptrdiff_t>(iLines - 1, 0),
                                           "line " + std::to_string(iLines + 1) + " of the record: it is cut here"));
    }
    // What is damaged: the arguments, the result, a number, the header or nothing; the line; what stands there instead.
    std::istringstream oCases(R"(
        -4 "at":3000000 -> "at":4611686018427387904; n4 "at":3000000 -> "at":4611686018427387905;
        n4 "at":3000000 -> "at":null; -2 "thread":1 -> "thread":4294967295; n2 "thread":1 -> "thread":4294967296;
        n3 "took":1, -> "took":-1,; r3 "result":2 -> "result":4294967296; r3 "result":2 -> "result":-1;
        r4 :null -> :"device 0"; r4 :null -> :"device 1x"; r4 :null -> :"device 4294967296"; r4 :null -> :"buffer 1";
        r4 :null -> :7; r6 :4294967295 -> :4294967296; r7 -2147483648 -> -2147483649; r7 -2147483648 -> 0.5;
        r8 :65535 -> :65536; r8 "uiVersionMajor":255 -> "uiVersionMajor":256; a9 :71 -> :4294967296; -9 nnn -> nnnn;
        r9 nnn -> nnnnn; r10 "szName":"" -> "szName":1; r12 2147483647 -> 2147483648;
        r12 2147483647,"filled":{ -> 0,"filled":{"poFpgaInfo":{}; a13 "uiWidth":20, -> ; a13 "uiWidth" -> "ui";
        a13 "uiWidth" -> "ui":0,"uiWidth"; a13 :{} -> :1; a13 :20 -> :-1; a6 "device 2" -> "output 2";
        r13 :"buffer 1" -> :"output 1"; r13 "phBuffer":" -> "ph":"; r13 "phBuffer":" -> "ph":1,"phBuffer":";
        r18 [3,409,0] -> [3,409]; r18 [3,409,0] -> [3,409,4294967296]; r18 [3,409,0] -> 3; r23 "address", -> 1,;
        r23 "address", -> "address",null,; r23 ["address","address",null] -> ""; a27 "bIsYuv":1 -> "bIsYuv":2;
        a27 :65535 -> :65536; r29 "filled":{ -> "filled":{"a":1; r29 "filled":{} -> "filled":[];
        n49 "exit":255 -> "signal":256; n49 "exit":255 -> "exit":256; -49 "signal":10 -> "signal":64;
        n49 "signal":10 -> "signal":65; n49 "at":90000000 -> "at":-1; h1 "record":1 -> "record":"1"; h1 library -> lib;
        h1 "/lib/x" -> 1; h1 command -> words; h1 "a" -> 1; h1 ["a","\u00e9"] -> "a"; v1 "record":1 -> "record":2;
        c4 "call":3 -> "call":4; o3 GetDeviceCount -> x;)");
    for (std::string strCase; std::getline(oCases >> std::ws, strCase, ';');)
    {
        const size_t      uiOld = strCase.find(' ') + 1, uiNew = strCase.find(" -> ") + 4;
        const std::string strLine = strCase.substr(1, uiOld - 2), strNew = strCase.substr(uiNew);
        std::string       strRecord = strText, strOld = strCase.substr(uiOld, uiNew - uiOld - 4);
        size_t            uiAt = 0;
        for (int i = 1; i < std::stoi(strLine); ++i) uiAt = strText.find('\n', uiAt) + 1;
        strRecord.replace(strText.find(strOld, uiAt), strOld.size(), strNew);
        std::string strKey = strNew.substr(0, strNew.find('"', 1));
        strKey.erase(0, 1);
        const std::string                 strAt = "line " + strLine + " of the record: it is damaged here: ";
        const std::map<char, std::string> oSaid = {{'-', ""},
                                                   {'h', "x: not a record"},
                                                   {'v', "x: a record of version 2, and this program reads version 1"},
                                                   {'c', strAt + "calls before it are missing"},
                                                   {'o', strAt + "there is no operation Tavrin_x"},
                                                   {'r', strAt + oOperations[strLine] + " does not answer so"},
                                                   {'a', strAt + "these are no arguments of " + oOperations[strLine]},
                                                   {'n', strAt + strKey + " is no such number"}};
        EXPECT_EQ(fRead(strRecord).second, oSaid.at(strCase[0])) << strCase;
    }
    EXPECT_EQ(fRead(strHeader + std::string(500000, '[') + "\n").second, "line 2 of the record: it is damaged here");
    EXPECT_EQ(fRead(strText + "{}").second, "line 49 of the record: more follows its end");
}

TEST(RecordText, HoldsTextsAndNamesOfHandles)
{
    std::string strBytes;
    for (int i = 0; i < 256; ++i) strBytes += char(i);
    bool bBytes = false;
    EXPECT_EQ(std::pair(ToUtf8("\u00e9", bBytes), bBytes), std::pair(std::string("\u00e9"), false));
    EXPECT_EQ(std::pair(FromUtf8(ToUtf8(strBytes, bBytes) + "\xc3"), bBytes), std::pair(strBytes + "\xc3", true));

    HandleNames o;
    const auto  eBuffer = EHandle::Buffer;
    using Names         = std::vector<std::string>;
    EXPECT_EQ((Names{o.NameOf(EHandle::Device, 5), o.NameOf(eBuffer, 5), o.NameReturned(eBuffer, 5), o.NameOf(eBuffer, 6)}),
              (Names{"\"device 1\"", "\"buffer 1\"", "\"buffer 1\"", "\"buffer 2\""}));
    o.End(eBuffer, 5);
    EXPECT_EQ((Names{o.NameOf(eBuffer, 5), o.NameReturned(eBuffer, 5), o.NameReturned(eBuffer, 5), o.NameOf(eBuffer, 0)}),
              (Names{"\"buffer 1\"", "\"buffer 3\"", "\"buffer 3\"", "null"}));
    o.Learn(eBuffer, 8, 9);
    o.Learn(eBuffer, 7, 2);
    EXPECT_EQ((Names{o.NameReturned(eBuffer, 8), o.NameReturned(eBuffer, 7), o.NameOf(eBuffer, 1)}),
              (Names{"\"buffer 9\"", "\"buffer 2\"", "\"buffer 10\""}));
}
}
