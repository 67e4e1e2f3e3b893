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
    std::string Record(const char* pszArguments = " -p 1 2 300 40 -l 16 -et 60")
    {
        Expect("create --outputs 3 --fpga 3:1.33.0 --fpga 5:2.13.45@11", 0, "");
        Expect("progress 100", 0, "");
        Expect("record " + m_strRecord + TOOL + pszArguments, 0, "");
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
    const std::string strArguments = TOOL + " -p 1 2 300 40 -l 16 -et 60", strText = Record();
    Expect("snapshot 2 " + At("recorded.png"), 0, "");
    Expect("create --outputs 1", 0, "");
    Expect("replay " + m_strRecord + strArguments, 0, "");
    Expect("snapshot 2 " + At("replayed.png"), 0, "");
    EXPECT_EQ(ReadFile(At("replayed.png")), ReadFile(At("recorded.png")));
    Expect("status", 0, "FPGA 1: device code 0x0005, version 2.13.45, address 0x11, vendor 0xc3e7");
    Expect("status", 0, "register 7932 (progress): 0x00000064 (100 %)");
    Expect("describe " + m_strRecord + " | tail -5", 0,
           "left enabled: output 0 of device 1, output 1 of device 1, output 2 of device 1\n");
    EXPECT_EQ(CountFiles("board.replay"), 0);

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
        Expect("replay --fast " + m_strRecord + (strOther.empty() ? strArguments : TOOL + strOther), iStatus, strSaid);
    }
    Expect("create", 0, "");
    Holder oUser;
    Write(strText);
    Expect("replay " + m_strRecord + strArguments, 1, "in use");
}

TEST_F(RecordTest, TheDemoIsReplayedCallByCall)
{
    const std::string strDemo = DEMO_FOLDER;
    ASSERT_EQ(std::system(("zcat " RECORDS "/demo.gz >" + m_strRecord).c_str()), 0);
    Expect("replay --fast " + m_strRecord + TOOL + " -i " + strDemo + "/background.png -f " + strDemo +
               "/frame -a 448 216 576 344 -p 192 560 832 584 -l 40 -et 300",
           0, "");
    Expect("describe " + m_strRecord + " | tail -5", 0,
           "119 calls, 0 failed\nsteps: 99 of 40 ms, late by 0.196 ms at the median");
}

TEST_F(RecordTest, TheCommandRunsAsWithoutTheRecord)
{
    std::ofstream(m_strRecord) << "of before\n";
    const std::tuple<std::string, int, std::string> aoCases[] = {
        {"--library " + At("none") + " " + m_strRecord + " -- touch " + At("ran"), 1, "there is no device library"},
        {"--library libc.so.6 " + m_strRecord + " -- touch " + At("ran"), 1, "there is no device library"},
        {At("none/x") + " -- touch " + At("ran"), 1, "none/x: open"},
        {"/dev/full -- touch " + At("ran"), 1, "/dev/full: write"},
        {m_strRecord, 2, "COMMAND"},
        {m_strRecord + " -- no-such-command", 1, "no-such-command: exec"},
        {m_strRecord + " -- sh -c 'exit 7'", 7, "called no device library"},
        {m_strRecord + " -- sh -c 'kill -KILL $$'", 128 + SIGKILL, "called no device library"},
        {m_strRecord + " -- sh -c 'kill -INT $PPID; exec sleep 9'", 128 + SIGINT, ""},
        {m_strRecord + " -- sh -c 'trap \"echo it >&2; exit 5\" TERM; kill -TERM $PPID; sleep 9 >&- 2>&- & wait'", 5,
         "it\n"},
    };
    for (const auto& [strArguments, iStatus, strSaid] : aoCases) Expect("record " + strArguments, iStatus, strSaid);
    EXPECT_FALSE(fs::exists(At("ran")));
    EXPECT_NE(ReadFile(m_strRecord).find("\n{\"end\":{\"exit\":5}}\n"), std::string::npos);
    Expect("create", 0, "");
    Expect("record " + m_strRecord + " -- sh -c '" BOARD_PANEL " progress 0; " + TOOL.substr(4) + " -d 7'", 255, "");
    Expect("describe " + m_strRecord, 0, "1 calls, 0 failed");
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
    const auto fRun = [&](const char* pszLibrary) {
        TestClient               o{pszLibrary};
        std::vector<std::thread> aoThreads;
        for (int i = 0; i < 3; ++i) aoThreads.emplace_back(fRead, std::ref(o));
        for (std::thread& roThread : aoThreads) roThread.join();
        if (fork() == 0) _exit((o.hDev = o.Tavrin_GetDevice(0), fRead(o), testing::Test::HasFailure()));
        int iStatus = 0;
        wait(&iStatus);
        EXPECT_EQ(iStatus, 0);
        for (const auto& roFd : fs::directory_iterator("/proc/self/fd"))  // a command may close what it does not know
            if (fs::read_symlink(roFd) == m_strRecord) dup2(STDERR_FILENO, std::stoi(roFd.path().filename()));
        fRead(o);
    };
    Process([&] { fRun(RECORDING_LIBRARY); });
    const std::string           strText = ReadFile(m_strRecord);
    RecordReader                oReader(strText, m_strRecord);
    std::map<KUINT32, unsigned> oCalls;
    while (const auto ooCall = oReader.Next()) ++oCalls[ooCall->uiThread];
    EXPECT_NE(oReader.GetDamage().find("line 1004 of the record: it is cut"), std::string::npos) << oReader.GetDamage();
    EXPECT_EQ(oCalls, (std::map<KUINT32, unsigned>{{1, 201}, {2, 200}, {3, 200}, {4, 200}, {5, 201}}));

    const auto oProgress = ReplayProgress::Make(SoftwareBoard::BoardFolder::Open());
    setenv(REPLAY_FILE_VARIABLE, m_strRecord.c_str(), 1);
    setenv(REPLAY_FAST_VARIABLE, "1", 1);
    Process([&] { fRun(REPLAYING_LIBRARY); });
    EXPECT_EQ(oProgress.Read().uiCalls, 1002u) << oProgress.Read().acText.data();
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
        strText += "{\"call\":" + std::to_string(uiCall++) + R"(,"at":1,"took":9,"thread":1,)" + strCall + "}\n";
    Write(strText);
    Expect("create", 0, "");
    ReplayProgress::Make(SoftwareBoard::BoardFolder::Open());
    setenv(REPLAY_FILE_VARIABLE, m_strRecord.c_str(), 1);
    Process([&] {
        TestClient         o{REPLAYING_LIBRARY};
        tagTBoard_FpgaInfo oFpga = {.uiSize = sizeof(oFpga), .uiI2cAddress = 5};
        EXPECT_EQ(o.TBoard_GetFpgaInfo(o.hDev, 0, &oFpga), TStatus_FAIL);
        EXPECT_STREQ(oFpga.szName, "\xff\xe9x");
        EXPECT_EQ(oFpga.ui16DevID + oFpga.uiI2cAddress, 12u);
        o.MakeBuffer(20, 4);
        o.Output(1);
        KUINTPTR             auiPlanes[3] = {0, 1, 1};
        tagTBuffer_PlaneInfo oInfo        = {};
        EXPECT_EQ(o.TBuffer_BeginAccess(o.hBuffer, 0, 2, auiPlanes), TStatus_OK);
        EXPECT_EQ(std::pair(auiPlanes[1], auiPlanes[2]), std::pair(KUINTPTR{0}, KUINTPTR{1}));
        EXPECT_EQ(o.TBuffer_GetPlaneInfo(o.hBuffer, &oInfo), TStatus_OK);
        EXPECT_EQ(oInfo.auiPitchInBytes[1], 40u);
        for (KUINT8 ui = 0; ui < 80; ++ui) reinterpret_cast<KUINT8*>(auiPlanes[0])[ui + 80] = ui;
        EXPECT_EQ(o.TBuffer_EndAccess(o.hBuffer), TStatus_OK);
        const std::string strPixels = ReadFile(At("board.pixels-0"));
        for (size_t ui = 0; ui < 80; ++ui) EXPECT_EQ(strPixels[ui + 128], char(ui)) << "rows of 32 pixels of 4 bytes";
        signal(SIGTERM, SIG_IGN);
        EXPECT_EQ(o.TBuffer_EndAccess(o.hBuffer), TStatus_FAIL) << "the record is cut";
    });
}

TEST_F(RecordTest, ADamagedRecordIsReadUpToTheDamage)
{
    const std::string strText = Record();
    for (size_t ui = 0; ui < strText.size(); ++ui)
    {
        const std::string_view svCut(strText.data(), ui);
        RecordReader           oCut(svCut, m_strRecord);
        std::ptrdiff_t         iCalls = 0;
        while (oCut.Next()) ++iCalls;
        const std::ptrdiff_t iLines = std::count(svCut.begin(), svCut.end(), '\n');
        const bool           bWhole = strText[ui] == '\n';  // only the end of the line is missing
        EXPECT_EQ(iCalls, std::max<std::ptrdiff_t>(iLines - (bWhole ? 0 : 1), 0) - (ui + 1 == strText.size())) << ui;
        EXPECT_EQ(oCut.GetDamage().empty(), ui + 1 == strText.size()) << ui;
    }
    Write(strText.substr(0, 1000));
    Expect("describe " + m_strRecord, 0, "of the record: it is cut here");
    Write("");
    Expect("describe " + m_strRecord, 0, "line 1 of the record: it is cut here");
    Write(strText + "{}");
    Expect("describe " + m_strRecord, 0, "more follows its end");
    Write(Replaced(strText, "\"record\":1", "\"record\":2"));
    Expect("describe " + m_strRecord, 1, "a record of version 2");
    Write(Replaced(strText, "\"call\":3", "\"call\":4"));
    Expect("describe " + m_strRecord, 0, "line 4 of the record: it is damaged here: calls before it are missing");
    Write(Replaced(strText, "\"phBuffer\":\"buffer 1\"", "\"phBuffer\":\"output 1\""));
    Expect("describe " + m_strRecord, 0, "it is damaged here: TBuffer_CreateVideo does not answer so");
    Expect("describe " + At("none"), 1, "none: open");
}
}
