// Records of runs: what is written, what a replay makes of it, and what damage costs.
#include "PanelWorld.h"
#include "RecordFile.h"
#include "RecordReader.h"
#include "ReplayProgress.h"

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
    const std::string strText      = Record(strOptions + " >" + At("said"));
    Expect("snapshot 2 " + At("recorded.png"), 0, "");
    Expect("run" + strArguments + " >" + At("said-before"), 0, "");
    Expect("snapshot 2 " + At("before.png"), 0, "");
    EXPECT_EQ(ReadFile(At("recorded.png")), ReadFile(At("before.png")));
    EXPECT_EQ(ReadFile(At("said")), ReadFile(At("said-before")));
    EXPECT_NE(ReadFile(At("said")), "");
    Expect("create --outputs 1", 0, "");
    Expect("replay " + m_strRecord + strArguments, 0, "");
    Expect("snapshot 2 " + At("replayed.png"), 0, "");
    EXPECT_EQ(ReadFile(At("replayed.png")), ReadFile(At("recorded.png")));
    Expect("status", 0, "FPGA 1: device code 0x0005, version 2.13.45, address 0x11, vendor 0xc3e7");
    Expect("status", 0, "register 7932 (progress): 0x00000064 (100 %)");
    Expect("describe " + m_strRecord + " | tail -5", 0,
           "left enabled: output 0 of device 1, output 1 of device 1, output 2 of device 1\n");

    const auto fLine = [&](const std::string& strOf) {
        return std::to_string(std::count(strText.begin(), strText.begin() + std::ptrdiff_t(strText.find(strOf)), '\n') + 1);
    };
    const size_t                                                 uiLast    = strText.find("{\"end\"");
    const std::tuple<std::string, std::string, int, std::string> aoCases[] = {
        // the record, the arguments of the tool, the status, what is said
        {strText, " -d 9" + strArguments.substr(TOOL.size()), 3,
         "line 3 of the record: expected Tavrin_GetDevice(0), came the end"},
        {strText, " -p 1 2 300 40 -l 16", 3, ", came TVideoOut_GetHandle(device 1, 0, 2, phVideoOut)"},
        {Replaced(strText, "\"uiVActive\":768", "\"uiVActive\":767"), "", 3,
         "line " + fLine("\"uiVActive\"") +
             " of the record: expected TVideoOut_Enable(output 1, 0, {uiHActive 1024 uiVActive 767"},
        {Replaced(strText, "Tavrin_GetDeviceCount\",\"arguments\":{},\"result\":1",
                  "Tavrin_GetDeviceCount\",\"arguments\":{},\"result\":0"),
         "", 3, "line 3"},
        // A board whose numbers do not fit each other is drawn on all the same.
        {Replaced(Replaced(strText, "Pitch\":[1040", "Pitch\":[100000"), "PitchInBytes\":[4160", "PitchInBytes\":[4"), "", 0,
         ""},
        {Replaced(strText, "Height\":[768", "Height\":[4294967295"), "", 1, ": the planes of the buffer are too large"},
        {strText, " -- no-such-command", 1, "no-such-command: exec"},
        {strText.substr(0, uiLast), "", 0, ""},
        {strText.substr(0, uiLast - 2), "", 1, "it is cut here"},
        {Replaced(strText, "\"filled\":{\"puiCount\":2}", "\"filled\":{\"puiCount\":-2}"), "", 1,
         "line 4 of the record: it is damaged here"},
        {strText.substr(0, 9), "", 1, "line 1 of the record: it is cut here"},
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
    const std::string strDemo = DEMO_FOLDER;
    // The calls are then said to have taken an age, which --fast does not wait for.
    const std::string strAge  = "sed -i 's/\"took\":[0-9]*/\"took\":4000000000000000000/' " + m_strRecord;
    const auto        fUnpack = [&](const std::string& strName) {
        ASSERT_EQ(std::system(("zcat " RECORDS "/" + strName + ".gz >" + m_strRecord).c_str()), 0);
    };
    fUnpack("demo");
    Expect("describe " + m_strRecord + " | tail -5", 0,
           "119 calls, 0 failed\nsteps: 99 of 40 ms, late by 0.196 ms at the median");
    Expect("describe " + m_strRecord + " | grep -c '^ *[.][.][.] 40[.][0-9]* ms'", 0, "62\n");
    ASSERT_EQ(std::system(strAge.c_str()), 0);
    Expect("replay --fast " + m_strRecord + TOOL + " -i " + strDemo + "/background.png -f " + strDemo +
               "/frame -a 448 216 576 344 -p 192 560 832 584 -l 40 -et 300",
           0, "");
    fUnpack("teardown");
    ASSERT_EQ(std::system(strAge.c_str()), 0);
    Expect("replay --fast " + m_strRecord + TOOL + " -p 1 2 300 40 -l 16", 0, "");
    // The board of a replay has each FPGA once, however often it was asked about.
    Expect("create --fpga 3:1.33.0 --fpga 5:2.13.45@11", 0, "");
    Expect("record " + m_strRecord + " -- " + (fs::path(BOARD_PANEL).parent_path() / "QelBoardCheck").string(), 0, "");
    Expect("replay --fast " + m_strRecord + " -- " BOARD_PANEL " status 2>&1 | grep -c FPGA", 0, "2\n");
}

TEST(RecordedFields, EachBitOfTheTimingsBelongsToOne)
{
    for (KUINT32 uiBit = 0; uiBit < 32; ++uiBit)
    {
        tagTVideo_VidParam oTimings = {};
        const KUINT32      uiFlags  = 1u << uiBit;
        std::memcpy(&oTimings.uiVBPorch + 1, &uiFlags, sizeof(uiFlags));
        HandleNames oNames;
        const Json  oFields = Json::parse(
             ReadArguments(TableRow(EOperation::TVideoOut_Enable), {0, 0, ToWord(&oTimings), 0, 0}, oNames))["poVidParam"];
        EXPECT_EQ(std::count_if(oFields.begin(), oFields.end(), [](const Json& ro) { return ro != 0; }), 1) << oFields;
    }
}

// What is in no line of its own: a call that did not return, a signal, what could not be written.
TEST_F(RecordTest, TheEndOfARecordTellsHowTheRunEnded)
{
    setenv("BAD_BOARD_LIBRARY", TAVRIN_LIBRARY, 1);
    const std::string strTool = TOOL.substr(4), strBad = "--library " BAD_LIBRARY " ", strOptions = " -l 16";
    const std::string strKill =
        " -- sh -c '(" BOARD_PANEL " wait --shown; kill -TERM $PPID) & exec " + strTool + strOptions + "'";
    const struct
    {
        const char* pszFault;
        std::string strRecord;  // the arguments of record
        int         iStatus;
        const char* pszDescribed;
        int         iReplayed;
    } aoCases[] = {
        {"crash TVideoOut_Enable 2", strBad + m_strRecord + TOOL + strOptions, 128 + SIGSEGV,
         "ended by signal 11 (Segmentation fault) in TVideoOut_Enable(output 2, 0, {uiHActive 1024 ", 128 + SIGSEGV},
        {"-3 TVideoOut_Enable 2", strBad + m_strRecord + TOOL + strOptions, 253, "\n! ", 253},
        {"", m_strRecord + strKill, 0, "ended with status 0, after signal 15 (Terminated) at ", 0},
        {"", m_strRecord + " -- sh -c '" + strTool + " -d 7; (ulimit -f 0; " + strTool + " -d 7); " + strTool + " -d 7'",
         255, "\n1 calls, 0 failed\nsteps: 0\nleft enabled: nothing\nline 3 of the record: it is cut here", 1},
    };
    for (const auto& roCase : aoCases)
    {
        setenv("BAD_BOARD", roCase.pszFault, 1);
        Expect("create", 0, "");
        Expect("record " + roCase.strRecord, roCase.iStatus, "");
        Expect("describe " + m_strRecord, 0, roCase.pszDescribed);
        Expect("replay --fast " + m_strRecord + TOOL + strOptions, roCase.iReplayed, "");
    }
}

TEST_F(RecordTest, TheCommandRunsAsWithoutTheRecord)
{
    Dl_info oLibc = {};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&getpid), &oLibc), 0);
    std::ofstream(At("half.so")) << ReadFile(TAVRIN_LIBRARY).substr(0, 8192);
    const std::string strTouch = " -- touch " + At("ran"), strTool = TOOL.substr(4);
    using Cases           = std::vector<std::tuple<std::string, int, std::string>>;
    const Cases aoRefused = {
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
    };
    const Cases aoRun = {
        {m_strRecord + " -- sh -c 'exit 7'", 7, "called no device library"},
        {m_strRecord + " -- sh -c 'kill -KILL $$'", 128 + SIGKILL, "called no device library"},
        {m_strRecord + " -- sh -c 'kill -INT $PPID; exec sleep 9'", 128 + SIGINT, ""},
        {m_strRecord + " -- sh -c '(ulimit -f 0; " + strTool + " -d 7)'", 255, "the record is cut"},
        {m_strRecord + " -- sh -c 'trap \"echo it >&2; exit 5\" TERM; kill -TERM $PPID; sleep 9 >&- 2>&- & wait'", 5,
         "it\n"},
    };
    const auto fExpect = [](const Cases& roCases) {
        for (const auto& [strArguments, iStatus, strSaid] : roCases) Expect("record " + strArguments, iStatus, strSaid);
    };
    Expect("create", 0, "");
    Write("of before\n");
    fExpect(aoRefused);
    EXPECT_EQ(ReadFile(m_strRecord), "of before\n");
    fExpect(aoRun);
    EXPECT_FALSE(fs::exists(At("ran")));
    EXPECT_NE(ReadFile(m_strRecord).find("\n{\"end\":{\"exit\":5},\"signals\":[{\"signal\":15,\"at\":"), std::string::npos);
    Expect("record " + m_strRecord + " -- sh -c '" BOARD_PANEL " progress 0; " + strTool + " -d 7'", 255, "");
    Expect("describe " + m_strRecord, 0, "1 calls, 0 failed");

    fs::create_directory(At("other"));
    fs::copy(TAVRIN_LIBRARY, At("other/libTavrin.so.1"));
    setenv("BAD_BOARD_LIBRARY", TAVRIN_LIBRARY, 1);
    Expect("record --library " BAD_LIBRARY " " + m_strRecord + TOOL + " -d 7", 255, "");
    Expect("describe " + m_strRecord, 0, "library: " BAD_LIBRARY);
    setenv("LD_LIBRARY_PATH", At("other").c_str(), 1);
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
        TestClient               o{pszLibrary};
        std::vector<std::thread> aoThreads;
        for (int i = 0; i < 3; ++i) aoThreads.emplace_back(fRead, std::ref(o));
        for (std::thread& roThread : aoThreads) roThread.join();
        const auto fReplaceAndRead = [&] {
            const int iReplaced = fReplace();
            EXPECT_EQ(iReplaced >= 0, bKeepsOpen);
            fRead(o);
            EXPECT_TRUE(iReplaced < 0 || fcntl(iReplaced, F_GETFD) >= 0) << "it was not the library's any more";
        };
        if (fork() == 0) _exit((o.hDev = o.Tavrin_GetDevice(0), fReplaceAndRead(), testing::Test::HasFailure()));
        int iStatus = 0;
        wait(&iStatus);
        EXPECT_EQ(iStatus, 0);
        fReplaceAndRead();

        reinterpret_cast<TStatus (*)()>(dlsym(o.m_pLibrary, "Tavrin_UnLoad"))();
        dlclose(o.m_pLibrary);
        const auto oBegin = std::chrono::steady_clock::now();
        EXPECT_NE(TestClient{pszLibrary}.hDev, nullptr);
        EXPECT_LT(std::chrono::steady_clock::now() - oBegin, std::chrono::seconds(1)) << "it waits for another thread";
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

TEST_F(RecordTest, AReplayAnswersAsALibraryThatIsNotOurs)
{
    // Rows without padding, two planes, a name that is no UTF-8, an address that is null, a failure that fills something in,
    // a handle that comes again.
    const std::string strCreate =
        R"("arguments":{"hDev":"device 1","ePixelFormat":52,"uiWidth":20,"uiHeight":4,"phBuffer":{}},"status":0,"filled":)";
    const std::string astrCalls[] = {
        R"("operation":"Tavrin_GetDevice","arguments":{"uiDevIndex":0},"result":"device 1","filled":{})",
        R"("operation":"TBoard_GetFpgaInfo","arguments":{"hDev":"device 1","uiIndex":0,"poFpgaInfo":{"uiSize":84}},"status":-1,)"
        R"("filled":{"poFpgaInfo":{"uiSize":84,"szName":"\u00ff\u00e9x","ui16DevID":7,"bytes":true}})",
        R"("operation":"TBuffer_CreateVideo",)" + strCreate + R"({"phBuffer":"buffer 1"})",
        R"("operation":"TVideoOut_GetHandle","arguments":{"hDev":"device 1","uiIndex":1,"eAccessMode":2,"phVideoOut":{}},)"
        R"("status":0,"filled":{"phVideoOut":"output 1"})",
        R"("operation":"TBuffer_BeginAccess","arguments":{"hBuffer":"buffer 1","uiMode":0,"uiPlaneCount":2,"auiPlanes":{}},)"
        R"("status":0,"filled":{"auiPlanes":["address",null]})",
        R"("operation":"TBuffer_GetPlaneInfo","arguments":{"hBuffer":"buffer 1","poPlaneInfo":{}},"status":0,"filled":)"
        R"({"poPlaneInfo":{"uiPlaneCount":2,"auiHeight":[4,4,0],"auiPitchInBytes":[80,40,0]}})",
        R"("operation":"TBuffer_EndAccess","arguments":{"hBuffer":"buffer 1"},"status":0,"filled":{})",
    };
    std::string strText = "{\"record\":1,\"library\":\"x\",\"command\":[]}\n";
    for (KUINT64 uiCall = 1; const std::string& strCall : astrCalls)
        strText += "{\"call\":" + std::to_string(uiCall++) + R"(,"at":1,"took":)" +
                   (strCall.find("EndAccess") == std::string::npos ? "9999999" : "4000000000000000000") + R"(,"thread":1,)" +
                   strCall + "}\n";
    Write(strText);
    Expect("create", 0, "");
    const auto oProgress = ReplayProgress::Make(SoftwareBoard::BoardFolder::Open());
    setenv(REPLAY_FILE_VARIABLE, m_strRecord.c_str(), 1);
    unsetenv(REPLAY_FAST_VARIABLE);
    Process([&] {
        const auto oBegin = std::chrono::steady_clock::now();
        TestClient o{REPLAYING_LIBRARY};
        EXPECT_GE(std::chrono::steady_clock::now() - oBegin, std::chrono::nanoseconds(9999999));
        tagTBoard_FpgaInfo oFpga = {.uiSize = sizeof(oFpga), .uiI2cAddress = 5};
        EXPECT_EQ(o.TBoard_GetFpgaInfo(o.hDev, 0, &oFpga), TStatus_FAIL);
        EXPECT_STREQ(oFpga.szName, "\xff\xe9x");
        EXPECT_EQ(std::tuple(oFpga.ui16DevID, oFpga.uiI2cAddress), std::tuple(7, 5));
        o.MakeBuffer(20, 4);
        o.Output(1);
        KUINTPTR             auiPlanes[3] = {0, 1, 1};
        tagTBuffer_PlaneInfo oInfo        = {};
        EXPECT_EQ(o.TBuffer_BeginAccess(o.hBuffer, 0, 2, auiPlanes), TStatus_OK);
        EXPECT_EQ(std::pair(auiPlanes[1], auiPlanes[2]), std::pair(KUINTPTR{0}, KUINTPTR{1}));
        EXPECT_EQ(o.TBuffer_GetPlaneInfo(o.hBuffer, &oInfo), TStatus_OK);
        EXPECT_EQ(oInfo.auiPitchInBytes[1], 40u);
        for (KUINT8 ui = 0; ui < 80; ++ui) reinterpret_cast<KUINT8*>(auiPlanes[0])[ui + 80] = ui;
        signal(SIGALRM, [](int) {});
        ualarm(50000, 50000);  // only a signal ends this call
        EXPECT_EQ(o.TBuffer_EndAccess(o.hBuffer), TStatus_OK);
        const std::string strPixels = ReadFile(At("board.pixels-0"));
        for (size_t ui = 0; ui < 80; ++ui) EXPECT_EQ(strPixels[ui + 128], char(ui)) << "rows of 32 pixels of 4 bytes";
        signal(SIGTERM, SIG_IGN);
        EXPECT_EQ(o.TBuffer_EndAccess(o.hBuffer), TStatus_FAIL) << "the record is cut";
    });

    Write(Replaced(strText, astrCalls[2], R"("operation":"TBuffer_CreateVideo",)" + strCreate + "{}"));
    oProgress.Write({});
    Process([&] {
        signal(SIGTERM, SIG_IGN);
        TestClient         o{REPLAYING_LIBRARY};
        tagTBoard_FpgaInfo oFpga = {.uiSize = sizeof(oFpga)};
        o.TBoard_GetFpgaInfo(o.hDev, 0, &oFpga);
        o.MakeBuffer(20, 4);
        o.Output(1);
        o.hBuffer             = reinterpret_cast<TBuffer_Handle>(KUINTPTR{1});
        KUINTPTR auiPlanes[2] = {};
        EXPECT_EQ(o.TBuffer_BeginAccess(o.hBuffer, 0, 2, auiPlanes), TStatus_FAIL);
    });
    EXPECT_STREQ(oProgress.Read().acText.data(), "line 6 of the record: no earlier call made this buffer");
}

TEST_F(RecordTest, ADamagedRecordIsReadUpToTheDamage)
{
    const std::string strText = Record();
    for (size_t ui = 0; ui < strText.size(); ++ui)
    {
        if (ui % 5 != 0 && strText[ui] != '\n') continue;
        const std::string_view svCut(strText.data(), ui);
        RecordReader           oCut(svCut, m_strRecord);
        std::ptrdiff_t         iCalls = 0;
        while (oCut.Next()) ++iCalls;
        const std::ptrdiff_t iLines = std::count(svCut.begin(), svCut.end(), '\n');
        const bool           bWhole = strText[ui] == '\n';  // only the end of the line is missing
        EXPECT_EQ(iCalls, std::max<std::ptrdiff_t>(iLines - (bWhole ? 0 : 1), 0) - (ui + 1 == strText.size())) << ui;
        EXPECT_EQ(oCut.GetDamage().empty(), ui + 1 == strText.size()) << ui;
    }
    const std::string                               strHeader = strText.substr(0, strText.find('\n') + 1);
    const std::tuple<std::string, int, std::string> aoCases[] = {
        {strText.substr(0, 1000), 0, "of the record: it is cut here"},
        {"", 0, "line 1 of the record: it is cut here"},
        {strText + "{}", 0, "more follows its end"},
        {Replaced(strText, "\"record\":1", "\"record\":2"), 1, "a record of version 2"},
        {Replaced(strText, "\"call\":3", "\"call\":4"), 0, "line 4 of the record: it is damaged here: calls before it are"},
        {Replaced(strText, "\"phBuffer\":\"buffer 1\"", "\"phBuffer\":\"output 1\""), 0,
         "it is damaged here: TBuffer_CreateVideo does not answer so"},
        {Replaced(strText, "\"status\":0", "\"status\":18446744073709551615"), 0, "does not answer so"},
        {strHeader + std::string(500000, '[') + "\n", 0, "line 2 of the record: it is damaged here"},
        {strHeader + R"({"end":{"signal":11},"during":[{"at":1,"operation":"none","arguments":{}}]})", 0,
         "line 2 of the record: it is damaged here: there is no operation none"},
    };
    for (const auto& [strRecord, iStatus, strSaid] : aoCases)
    {
        Write(strRecord);
        Expect("describe " + m_strRecord, iStatus, strSaid);
    }
    Expect("describe " + At("none"), 1, "none: open");
}
}
