// The front panel, as a shell calls it.
#include <fcntl.h>
#include <png.h>
#include <poll.h>
#include <sys/prctl.h>

#include "Board.h"
#include "PanelWorld.h"
#include "PngFile.h"
#include "RunPath.h"
#include "Usage.h"

namespace
{
using namespace SoftwareBoard::Panel;
using PanelTest = PanelWorld;

// The red, green, blue and alpha of each pixel of a file.
std::vector<KUINT32> ReadPng(const std::string& strPath, KUINT32 uiWidth, KUINT32 uiHeight)
{
    png_image oImage = {.version = PNG_IMAGE_VERSION};
    png_image_begin_read_from_file(&oImage, strPath.c_str());
    EXPECT_EQ(std::pair(oImage.width, oImage.height), std::pair(uiWidth, uiHeight)) << strPath;
    oImage.format = PNG_FORMAT_RGBA;
    std::vector<KUINT32> auiPixels(PNG_IMAGE_SIZE(oImage) / 4);
    EXPECT_NE(png_image_finish_read(&oImage, nullptr, auiPixels.data(), 0, nullptr), 0) << strPath;
    auiPixels.resize(size_t{uiWidth} * uiHeight);
    return auiPixels;
}

TEST(RunPath, IsFoundInAProgramAsFarAsThatIsThere)
{
    const std::string strProgram = ReadFile(CORPUS "/RunPath/program"), strPath = "$ORIGIN/lib:/opt/lib";
    for (size_t ui = 0; ui <= strProgram.size(); ++ui)
        EXPECT_EQ(FindRunPath(strProgram.substr(0, ui)), ui < 225 ? "" : strPath.substr(0, ui - 225)) << ui;
    // A byte of another mark, class, count of segments, place and size of the loaded one, type and size of the dynamic one.
    for (const auto& [uiAt, uiByte, uiSkips] :
         {std::tuple{0u, 1, 20u}, {4, 1, 20}, {56, 1, 20}, {72, 1, 1}, {96, 224, 20}, {120, 6, 20}, {152, 16, 20}})
        EXPECT_EQ(FindRunPath(std::string(strProgram).replace(uiAt, 1, 1, char(uiByte))), strPath.substr(uiSkips)) << uiAt;
}

TEST(Suggestion, IsTheFirstOfThoseWithTheFewestMistakes)
{
    const std::tuple<std::vector<std::string>, std::vector<std::string>, bool, std::string> aoCases[] = {
        // clang-format off
        {{"abc", "bac", "acb", "abd", "xbc", "ab", "bc", "ac", "abcd", "xabc"}, {"abc"}, false, "; the nearest is 'abc'"},
        {{"ba", "bca", "cab", "cba", "xac", "a", "abdd", "badc"}, {"abc"}, false, ""}, {{"ab"}, {"abxxxx"}, false, ""},
        {{"badcef", "abdcfe", "bcdefg", "cdef", "abcd"}, {"abcdef"}, false, "; the nearest is 'abcdef'"},
        {{"badcfe", "def", "defabc", "abxxxf"}, {"abcdef"}, false, ""}, {{""}, {}, true, ""},
        {{"abc"}, {"abd", "abcxxx"}, true, "; the nearest is 'abcxxx'"},
        {{"ab", "zz"}, {"xxx", "xb", "ax"}, true, "; the nearest is 'xb'"},
        // clang-format on
    };
    for (const auto& [astrWords, astrMeant, bHoweverFar, strNearest] : aoCases)
        for (const std::string& str : astrWords) EXPECT_EQ(SuggestNearest(str, astrMeant, bHoweverFar), strNearest) << str;
}

TEST_F(PanelTest, CommandLines)
{
    InClient([](TestClient& ro) { EXPECT_EQ(ro.TBoard_RegWrite(ro.hDev, 7932, 0xABCDEF01), TStatus_OK); });
    for (const std::string strWrong :
         {"3", "3:1.33", "3:1.33.0.0", "10000:1.33.0", "3:256.33.0", "3:1.256.0", "3:1.33.65536", "3:1.33.0@", ":1.33.0",
          "3:1.33.0@100000000", "3:1.33.0/10000", "3:1.33.0/c3e7x", "3:1.33.0/c3e7@d0", "3:.33.0", "3:1..0"})
        Expect("create --fpga " + strWrong, 2, "'" + strWrong + "' is not DEVICE:MAJOR.MINOR.BUILD[@ADDRESS][/VENDOR];");
    const std::string strPath = "run -- sh -c 'echo =$LD_LIBRARY_PATH='", strBin = fs::path(TAVRIN_LIBRARY).parent_path();
    const std::string strSh = "run -- sh -c 'exec \"$@\" ", strIt = "' - " BOARD_PANEL " ", strEnv = "run -- env ";
    fs::create_directory(At("lib"));
    fs::copy_file(BOARD_PANEL, At("lib/moved"));
    const std::tuple<std::string, int, std::string> aoCases[] = {
        // clang-format off
        {"progress 100", 0, ""}, {"progress 40.9%", 0, ""}, {"status", 0, "0xabcdef28 (40 %)"}, {"progress 100", 0, ""},
        {"", 2, "subcommand"}, {"--verzion", 2, ": there is no option '--verzion' here; the nearest is '--version';"},
        {"--version", 0, "tavrin-board 1."}, {"stauts", 2, ": there is no command 'stauts'; the nearest is 'status';"},
        {"--help", 0, "watch and wait only look.\n"}, {"replay --help", 0, "the record.\n\nExample:\n  tavrin-board replay"},
        {"run --help", 0, "only look.\n\nExample:\n  tavrin-board run"}, {"nonsense", 2, "'nonsense'; the nearest is '"},
        {"wait --help", 0, "too.\n\nExample:\n  tavrin-board wait"}, {"preview --help", 0, "ple:\n  tavrin-board preview"},
        {"display --help", 0, "*.\n\nExample:\n  tavrin-board display"}, {"\"$(printf '\\033[2J\\377')\"", 2, "'?[2J?'"},
        {"create --devices 0", 2, "--devices: '0' is not a number from 1 to 8"}, {"progress --ramp 86400.1", 2, "'86400.1'"},
        {"create --outputs 17", 2, "--outputs: '17' is not a number from 0 to 16"}, {"progress 5 --ramp 1", 2, "--ramp"},
        {"create --fpga 3:1.33.0 x", 2, "'x' is one word"}, {"replay x", 2, ": COMMAND after \"--\" is required;"},
        {"create --no-fpga --fpga 3:1.33.0", 2, "--no-fpga"}, {"status x -y", 2, ": there is no option '-y' here;"},
        {"create $(printf '%.0s--fpga 3:1.33.0 ' $(seq 17))", 2, "at most 16 of them;"}, {"run -- sh -c 'exit 7'", 7, ""},
        {"status - x", 2, ": '-' is one word too many;"}, {"progress 5 --to 5", 2, "--to requires --ramp or -"},
        {"progress", 2, "PERCENT or --ramp is required"}, {"status -- x", 2, ": nothing is to follow \"--\" here;"},
        {"progress 101", 2, "PERCENT: '101' is not a number from 0 to 100"}, {"wait --shown --percent 5", 2, "One of"},
        {"progress --ramp 1s", 2, "--ramp: '1s' is not a number of seconds from 0 to 86400"}, {"wait --percent 0", 0, ""},
        {"progress --ramp -1", 2, "'-1'"}, {"snapshot --devise=0 0 x.png", 2, "'--devise' here; the nearest is '--device'"},
        {"progress 5 --linear", 2, "--ramp"}, {"wait --percent 101", 2, "--percent: '101' is not a number from 0 to 100"},
        {"progress --to 101", 2, "--to: '101' is not a number from 0 to 100"}, {"progress 5 --device 1", 1, "no device 1"},
        {"wait --timeout 1", 2, "One of --displayed, --shown, --ended and --percent is"}, {"wait --ended", 0, ""},
        {"wait --ended --device 1 --timeout 86400", 1, ": there is no device 1, the board has 1"},
        {"wait --ended --device 8", 2, "a number from 0 to 7"}, {"snapshot 0 jpg", 1, "output 0 is off: there is"},
        {"snapshot 16 x.png", 2, "'16' is not a number from 0 to 15"}, {"snapshot 0 .jpeg", 2, "FILE: '.jpeg' names a JPEG"},
        {"snapshot 2 x.png", 1, "device 0 has no output 2, it has 2"}, {"snapshot 0 x.JPG", 2, "'x.JPG' names a JPEG"},
        {"watch --device 1", 1, "no device 1"}, {"replay --fas x", 2, "no option '--fas' here; the nearest is '--fast'"},
        {"preview " + At("none/x.png"), 1, "none: access"}, {"run -- sh -c 'kill -TERM $$'", 128 + SIGTERM, ""},
        {"preview x.png --at 101", 2, "0 to 100"}, {strSh + "2>&-" + strIt + "snapshot 2 x.png", 1, ""},
        {"preview - -- -l 16", 2, "name a file"}, {"run -- no-such-command", 1, ": no-such-command: exec: No such file"},
        {"run QelProgressBarDisplay -p 1 2 3 4", 2, "put \"--\" before 'QelProgressBarDisplay', as in \"tavrin-board run"},
        {"run", 2, ": COMMAND after \"--\" is required;"}, {strPath, 0, "=" + strBin + "=\n"},
        {"run -- printf '<%s>' -- '[a,b]' --help '' status", 0, "<--><[a,b]><--help><><status>"},
        {strEnv + "LD_LIBRARY_PATH= " BOARD_PANEL " " + strPath, 0, "=" + strBin + "=\n"},
        {strEnv + "LD_LIBRARY_PATH=/nowhere " BOARD_PANEL " " + strPath, 0, "=" + strBin + ":/nowhere="},
        {"run -- " + At("lib/moved") + " run -- true", 1, "in " + At("lib") + " nor in " + At("lib/tavrin-board") + "\n"},
        {strEnv + "PATH=/none " + At("lib/moved") + " watch", 1, "watch needs the program tavrin-board-viewer: No such"},
        {strEnv + "TMPDIR=" + At("none") + " " BOARD_PANEL " preview x.png", 1, "TMPDIR"},
        {strEnv + "-u TAVRIN_BOARD XDG_RUNTIME_DIR=" + At("") + " " BOARD_PANEL " status", 1, At("") + "/tavrin-board: the"},
        {strSh + ">/dev/full" + strIt + "--help", 1, "be written"}, {strSh + ">/dev/full" + strIt + "watch", 1, "write: No"},
        {strEnv + "TAVRIN_BOARD=" + At("none/x") + " " BOARD_PANEL " create", 1, At("none/x") + ": mkdir: No such file"},
        {"run -- timeout 9 " BOARD_PANEL " progress - </", 1, ": standard input: read: Is a directory"},
        {"status", 0, "0xabcdef64 (100 %)"},  // none of them has made another board
        {"create --devices 8 --outputs 16 $(printf '%.0s--fpga 3:1.33.0 ' $(seq 16))", 0, "each 16, FPGAs of each 16\n"},
        {"status | grep -c vendor", 0, "128\n"}, {"wait --ended --device 7", 0, ""}, {"create --devices 9", 2, "'9'"},
        {"create --devices 2 --outputs 0 --fpga ffff:255.255.65535@ffffffff/FFFF --fpga 3:1.33.0 --fpga 0X4:0.2.0@0xe4/0", 0,
         "board " + m_oFolder.string() + ": devices 2, outputs of each 0, FPGAs of each 3\n"},
        {"status", 0,
         "device 1\n  FPGA 0: device code 0xffff, version 255.255.65535, address 0xffffffff, vendor 0xffff\n"
         "  FPGA 1: device code 0x0003, version 1.33.0, address 0xd0, vendor 0xc3e7\n"
         "  FPGA 2: device code 0x0004, version 0.2.0, address 0xe4, vendor 0x0000\n"
         "  register 6908 (progress bar running): 0x00000000\n  register 7932 (progress): 0x00000000 (0 %)\n"},
        {"wait --shown --timeout 0", 1, ": the time is over: no run shows a picture on every output\n"},
        {"create --no-fpga --outputs 1", 0, "FPGAs of each 0"}, {"status", 0, "device 0\n  register 6908"},
        // clang-format on
    };
    for (const auto& [strArguments, iStatus, strContained] : aoCases) Expect(strArguments, iStatus, strContained);
}

TEST_F(PanelTest, SnapshotIsWhatTheOutputShowsNow)
{
    const auto fPixel = [](KUINT32 uiX, KUINT32 uiY) { return uiX * 9 | uiY * 11 << 8 | (uiX ^ uiY) << 16; };
    InClient([&](TestClient& ro) {
        tagTBuffer_PlaneInfo oInfo = {};
        EXPECT_EQ((ro.MakeBuffer(20, 12), ro.TBuffer_GetPlaneInfo(ro.hBuffer, &oInfo)), TStatus_OK);
        const KUINT32  uiPitch  = oInfo.auiPitch[0];
        KUINT32* const puiPlane = reinterpret_cast<KUINT32*>(ro.Access());
        for (const auto& [uiHActive, uiVActive] : {std::pair{20u, 12u}, {7u, 5u}, {33u, 15u}})
        {
            EXPECT_EQ(ro.Show(ro.Output(1), uiHActive, uiVActive), TStatus_OK);
            for (KUINT32 uiAt = 0; uiAt < uiPitch * 12; ++uiAt)  // drawn after the enable, alpha and padding anything
                puiPlane[uiAt] = fPixel(uiAt % uiPitch, uiAt / uiPitch) | uiAt << 24;
            std::vector<KUINT32> auiExpected(uiHActive * uiVActive, 0xFF000000);
            for (KUINT32 ui = 0; ui < auiExpected.size(); ++ui)
                if (ui % uiHActive < 20 && ui / uiHActive < 12) auiExpected[ui] |= fPixel(ui % uiHActive, ui / uiHActive);
            std::vector<std::uintmax_t> auiSizes;
            for (const std::string strTo : {"", "- >", "--small "})
            {
                Expect("snapshot 1 " + strTo + At("screen.png"), 0, "");
                EXPECT_TRUE(AreRows(ReadPng(At("screen.png"), uiHActive, uiVActive), auiExpected, uiHActive));
                auiSizes.push_back(fs::file_size(At("screen.png")));
            }
            EXPECT_TRUE(auiSizes[0] == auiSizes[1] && auiSizes[2] < auiSizes[0]);
        }
        EXPECT_EQ(ro.Show(ro.Output(1), 16384, 16385), TStatus_OK);
        Expect("snapshot 1 " + At("screen.png"), 1, "too large");
    });
}

TEST_F(PanelTest, SnapshotIsNeverTorn)
{
    constexpr KUINT32 uiWidth = 1280, uiHeight = 720;
    Process           oDrawing([] {
        TestClient oClient;
        oClient.MakeBuffer(uiWidth, uiHeight);
        KUINT8* const puiPlane = oClient.Access();
        EXPECT_EQ(oClient.Show(oClient.Output(0), uiWidth, uiHeight), TStatus_OK);
        Process::Pause();
        for (KUINT8 uiGrey = 0;; ++uiGrey, usleep(50'000))
            for (KUINT32 uiY = 0; uiY < uiHeight * 20; ++uiY)  // each row twenty times: drawing takes as long as it does
                std::fill_n(puiPlane + size_t{uiY / 20} * (uiWidth + 16) * 4, uiWidth * 4, uiGrey);
    });
    oDrawing.Await(), oDrawing.Resume();
    for (int iTry = 0; iTry < 12; ++iTry)
    {
        Expect("snapshot 0 " + At("screen.png"), 0, "");
        const auto auiPixels = ReadPng(At("screen.png"), uiWidth, uiHeight);
        EXPECT_TRUE(AreRows(auiPixels, std::vector(auiPixels.size(), auiPixels[0]), uiWidth)) << "of two pictures";
    }
    oDrawing.Kill();
}

TEST_F(PanelTest, ScreenOutlivesItsHolderAndAFailedSnapshotLeavesNoFile)
{
    const std::string strTake = "snapshot 0 ", strFile = At("screen.png"), strBoard = At("board.pixels-0");
    for (const std::string& strLook : {std::string("status"), strTake + strFile})
        Expect(strLook, 1, m_oFolder.string() + ": there is no board here");
    EXPECT_EQ(CountFiles(""), 0) << "looking made a board";
    Expect("create", 0, "");
    Holder oHolder;
    Expect("status", 0, "output 0: 32x8, 60 Hz, held by " + std::to_string(oHolder.GetPid()) + " (");
    oHolder.Kill();
    Expect("status", 0, "output 0: 32x8, 60 Hz, held by nobody\n    timing: 32 8 60");
    Expect("status --json", 0, "\"rate_hz\":60,\"holder\":null,");
    Expect(strTake + strFile, 0, "");
    EXPECT_EQ(ReadPng(strFile, 32, 8)[0] & 0xFF, 200u) << "what the killed process drew";
    fs::permissions(strFile, fs::perms(0604));
    Expect(strTake + strFile, 0, "");
    EXPECT_EQ(fs::status(strFile).permissions(), fs::perms(0604)) << "of the file that was replaced";
    Expect(strTake + At(std::string(255, 'n').c_str()), 0, "");
    const std::string strLimited = "run -- sh -c 'ulimit -f 0; export TMPDIR=/none; exec \"$@\"' - " BOARD_PANEL " ";
    fs::create_symlink("kept.png", At("link.png"));
    std::ofstream(At("kept.png")) << "kept";
    for (const char* pszFile : {"x.png", "link.png"}) Expect(strLimited + strTake + At(pszFile), 1, "write: File too large");
    EXPECT_TRUE(fs::is_symlink(At("link.png")) && fs::file_size(At("kept.png")) == 4) << "half a picture behind a link";
    Expect(strLimited + "run -- sh -c 'echo x >" + At("notes") + "'", 128 + SIGXFSZ, "");
    Expect("run -- sh -c 'exec \"$@\" >&-' - " BOARD_PANEL " status", 1, "standard output");
    Expect("status", 0, "board ");  // no file of the board was taken for standard output
    fs::create_symlink("/dev/null", At("null"));
    Expect(strTake + At("null"), 0, "");
    EXPECT_TRUE(fs::is_symlink(At("null"))) << "a device was replaced by a picture";
    for (const char* pszNoFile : {"none/x.png", ".", "/dev/full"}) Expect(strTake + At(pszNoFile), 1, At(pszNoFile));
    fs::resize_file(strBoard, 100);
    Expect(strTake + At("cut.png"), 1, "cut short");
    fs::remove(strBoard);
    Expect(strTake + At("gone.png"), 1, "board.pixels-0");
    EXPECT_EQ(mkfifo(strBoard.c_str(), 0600), 0);
    Expect("run -- timeout 20 " BOARD_PANEL " " + strTake + At("pipe.png"), 1, "not a plain file of this user");
    EXPECT_EQ(CountFiles(""), 8) << "the state, the pipe, both pictures, the notes, the kept file and the links";
}

TEST_F(PanelTest, CreateReplacesABoardAndNothingElse)
{
    std::ofstream(At("notes")) << "mine";
    std::ofstream(At("board.new")) << "a user's notes";
    Expect("create", 1, "board.new: not a file of the board's");
    std::ofstream(At("board.new")) << std::string(100, '\0');  // left by a create that was killed
    std::ofstream(At("board.pixels-9")) << "mine as well";
    fs::create_directory(At("board.pixels-7"));
    for (const bool bPixels : {false, true})  // as the new board may have, while a snapshot waits to read the old one
    {
        Holder oUser;
        Expect("create --devices 3", 1, "in use");
        oUser.Kill();
        const auto oBoard = SoftwareBoard::Board::Observe();
        auto       ooBusy = std::make_optional<SoftwareBoard::Transaction>(oBoard.m_oLocks);
        Live       oSnapshot("snapshot 0 " + At("old.png") + " 2>&1");
        const auto strHas = "ls -l /proc/" + std::to_string(oSnapshot.ooProcess->GetPid()) + "/fd | grep -q board.state";
        EXPECT_TRUE(Becomes([&] { return std::system(strHas.c_str()) == 0; }));
        Expect("create --devices 8 --outputs 16", 0, "devices 8");
        if (bPixels) std::ofstream(At("board.pixels-0")) << "other";
        ooBusy.reset();
        oSnapshot.Await("is off: there is nothing to take");
        oSnapshot.ooProcess->Kill(0, W_EXITCODE(1, 0));
    }
    fs::remove(At("board.pixels-0"));
    Expect("run -- sh -c 'exec \"$@\" >/dev/full' - " BOARD_PANEL " status --json", 1, "standard output");  // over 4 KiB
    fs::copy_file(At("board.state"), At("board.new"));  // as a create that was killed at its end leaves it
    Expect("run -- sh -c 'ulimit -f 0; exec \"$@\"' - " BOARD_PANEL " create", 1, "board.new: posix_fallocate");
    Expect("status | grep -c ': off'", 0, "128\n");
    EXPECT_EQ(CountFiles(""), 4) << "state, notes, the folder and the user's pixels; the picture of the old board is gone";
    const std::string strDamaged = At("board.state") + ": damaged (record of device 1); make the board anew\n";
    std::fstream(At("board.state"), std::ios::in | std::ios::out).seekp(73728).write("\x11", 1);  // outputs of device 1
    Expect("status 2>/dev/null | grep -A1 -B1 problem", 0, "device 1\n  problem: " + strDamaged + "device 2\n");
    Expect("status --json 2>/dev/null | cat", 0, "{\"device\":1,\"problem\":\"" + At("board.state"));
    Expect("status", 1, ": " + strDamaged);
    std::ofstream(At("board.state")) << "somebody's notes, longer than the header of a board";
    for (const char* pszCommand : {"create", "status"}) Expect(pszCommand, 1, "board.state: not the state of a board");
    EXPECT_EQ(fs::file_size(At("board.state")), 51u);
}

TEST_F(PanelTest, StatusIsValidJsonWhateverItsStringsHold)
{
    const std::string strOdd = At("a\"\\\n\xFF\xC3\xA4\xED\xA0\x80\xC3("), strNone = "\xEF\xBF\xBD";
    setenv("TAVRIN_BOARD", strOdd.c_str(), 1);
    Expect("create --fpga 3:1.33.0 --outputs 1", 0, "");
    Process oHolder([] {
        prctl(PR_SET_NAME, "\x1b[2J\"\x9B x");
        HoldOutput();
    });
    oHolder.Await();
    const std::string strPid = std::to_string(oHolder.GetPid());
    Expect("status --json", 0,
           R"({"board":")" + At("a") + R"(\"\\\n)" + strNone + "\xC3\xA4" + strNone + strNone + strNone + strNone +
               R"((","devices":[{"device":0,"fpgas":[{"name":"FPGA 0","device_code":3,"major":1,"minor":33,"build":0,)"
               R"("address":208,"vendor":50151}],"registers":{"6908":0,"7932":0},"progress":0,"outputs":[{"output":0,)"
               R"("enabled":true,"width":32,"height":8,"rate_hz":60,"holder":{"pid":)" +
               strPid +
               R"(,"name":"?[2J\"? x"},"timing":{"h_active":32,"v_active":8,"v_rate_hz":60,"h_rate_khz":0,)"
               R"("pixel_clock_khz":0,"h_front_porch":0,"h_sync":0,"h_back_porch":0,"v_front_porch":0,"v_sync":0,)"
               R"("v_back_porch":0,"interlaced":false,"bottom_field_first":false,"h_sync_positive":false,)"
               R"("v_sync_positive":false,"yuv":false,"color_space":"RGB_FULL","chroma_subsampling":"444","color_depth":8},)"
               "\"display\":null}]}]}\n");
    Expect("status", 0,
           "held by " + strPid + " (?[2J\"? x)\n    timing: 32 8 60 0 0 0 0 0 0 0 0 no no - - no RGB_FULL 444 8\n");
}

TEST_F(PanelTest, StatusTellsWhatTheDisplayProcessSaysOfAnOutput)
{
    using SoftwareBoard::EVerdict;
    const std::string strC(40, 'c'), strR(128, 'r');  // longer by one than what is kept
    // clang-format off
    const std::tuple<EVerdict, std::string, std::string, std::string, std::string> aoCases[] = {
        // said, connector, reason, what the status prints of it, and the same as JSON
        {EVerdict::Shown, "HDMI-A-1", "", ", shown on HDMI-A-1", R"("HDMI-A-1","state":"shown","reason":null)"},
        {EVerdict::Shown, "eDP-1", "", "off, dark on eDP-1", R"("eDP-1","state":"dark","reason":null)"},
        {EVerdict::Refused, "DP\033", "b\233d", "off, not shown: DP? b?d", R"("DP?","state":"refused","reason":"b?d")"},
        {EVerdict::Refused, "", "none is", "off, not shown: none is", R"(null,"state":"refused","reason":"none is")"},
        {EVerdict::Refused, strC, strR, "off, not shown: " + strC.substr(1) + ' ' + strR.substr(1),
         '"' + strC.substr(1) + R"(","state":"refused","reason":")" + strR.substr(1) + '"'},
        {EVerdict::NoDisplay, "", "none is", "off, not shown: none is", R"(null,"state":"dark","reason":"none is")"},
        {EVerdict::Awaited, "", "", "off, not shown yet", R"(null,"state":"awaited","reason":null)"},
    };
    // clang-format on
    Expect("create --outputs 7", 0, "");
    Holder  oHolder;
    Process oDisplay([&] {
        SoftwareBoard::Board oBoard = SoftwareBoard::Board::Observe();
        EXPECT_TRUE(oBoard.m_oLocks.TryServeDevice(0));
        for (KUINT32 ui = 0; const auto& [eVerdict, strConnector, strReason, strWords, strJson] : aoCases)
        {
            const KUINT32 uiGeneration = oBoard.m_oState.ReadGeneration(0, ui);
            oBoard.m_oState.WriteVerdict(SoftwareBoard::Transaction(oBoard.m_oLocks), 0, ui++, uiGeneration, eVerdict,
                                         strConnector, strReason);
        }
        Process::Pause();
    });
    oDisplay.Await();
    for (KUINT32 ui = 0; const auto& [eVerdict, strConnector, strReason, strWords, strJson] : aoCases)
    {
        Expect("status | grep 'output " + std::to_string(ui++) + ":'", 0, strWords + "\n");
        Expect("status --json", 0, R"("display":{"connector":)" + strJson + "}");
    }
    Expect("wait --displayed --timeout 0", 1, "has not decided about every output");
}

TEST_F(PanelTest, WatchOffATerminalIsALineAChange)
{
    Live oWatch("watch");
    oWatch.Await("waiting for a board");
    const auto fAct = [&](const char* pszCommand, const std::string& strSays) {
        Expect(pszCommand, 0, "");
        oWatch.Await(strSays);
    };
    fAct("create", "outputs 2\nprogress 0 %\nprogress bar not running\noutput 0: off\noutput 1: off\n");
    oWatch.Await("output 0: 32x8, 60 Hz, held by " + std::to_string(Holder().GetPid()) + " (");
    oWatch.Await(")\noutput 0: 32x8, 60 Hz, held by nobody\n");
    fAct("progress 7", "progress 7 %\n");
    fAct("create --outputs 1", "outputs 1\nprogress 0 %\nprogress bar not running\n");  // watch does not keep it
    std::ofstream(At("board.state")) << "damaged";
    oWatch.Await("problem: " + At("board.state"));
    fs::remove(At("board.state"));
    oWatch.Await("waiting for a board");
    fAct("create", "board " + m_oFolder.string() + ", device 0: outputs 2\nprogress 0 %\n");
    oWatch.ooProcess->Kill(SIGTERM, 0);
    Live("watch").Await("output 1: off\n");  // and one whose reader is gone ends by itself
    Live       oFull("watch", false, {}, "", "head -c " + std::to_string(PIPE_BYTES) + " /dev/zero; ");  // nobody reads
    const auto strStatus = "/proc/" + std::to_string(oFull.ooProcess->GetPid()) + "/status";
    const std::regex oWaits("^Name:\ttavrin-board-vi[^]*SigBlk:\t0*[1-9a-f]");
    EXPECT_TRUE(Becomes([&] { return std::regex_search(ReadFile(strStatus), oWaits); }));
    oFull.ooProcess->Kill(SIGTERM, 0);
}

TEST_F(PanelTest, WatchLeavesTheTerminalAsItWas)
{
    Holder  oHolder;
    termios oMode = {};
    for (const auto& [iSignal, iStatus, oSize, pszTerm] : {std::tuple{SIGINT, 0, winsize{40, 50, 0, 0}, "xterm-kitty"},
                                                           {SIGTERM, 0, {1, 1, 0, 0}, "xterm-256color"},
                                                           {SIGHUP, SIGHUP, {0, 20, 0, 0}, "vt220"},
                                                           {0, 0, {60, 0, 1000, 600}, "linux"}})
    {
        Live oWatch("watch", true, oSize, pszTerm);
        for (const char* psz : {"\x1b[?1049h\x1b[?25l", "\x1b[7m"}) oWatch.Await(psz);  // the row of the progress
        const winsize oOther = {9, 30, 0, 0};
        ioctl(oWatch.aiFds[0], TIOCSWINSZ, &oOther);
        oWatch.Await("\x1b[9;1H");
        EXPECT_EQ(write(oWatch.aiFds[0], "\f", 1), 1);  // draws anew
        for (const char* psz : {"\x1b[2J", "\x1b[7m"}) oWatch.Await(psz);
        EXPECT_EQ(tcgetattr(oWatch.aiFds[1], &oMode), 0);
        EXPECT_EQ(std::tuple(oMode.c_lflag & (ECHO | ICANON), oMode.c_cc[VMIN], oMode.c_cc[VTIME]), std::tuple(0u, 0, 0));
        EXPECT_EQ(write(oWatch.aiFds[0], "xq", iSignal == 0 ? 2 : 1), iSignal == 0 ? 2 : 1);
        oWatch.ooProcess->Kill(iSignal, iStatus);
        if (iSignal == SIGINT) oWatch.Await("\x1b_Ga=d,q=2\x1b\\");  // removes the images
        oWatch.Await("\x1b[?25h\x1b[?1049l");
        EXPECT_TRUE(tcgetattr(oWatch.aiFds[1], &oMode) == 0 && std::memcmp(&oMode, &oWatch.oMode, sizeof(oMode)) == 0);
    }
    Live oJob("watch & wait; for i in 1 2 3; do echo $i; fg >&4; bg >&4; wait; done", true, {5, 20}, "vt220",
              "set -m; exec 4>/dev/null; ");  // a shell's job, which draws only in the foreground
    for (const auto& [pszNumber, pszKey] :
         {std::pair{"1\r\n", "\x1a"}, {"\x1b[?1049l2\r\n", "\x1a"}, {"\x1b[?1049l3\r\n", "q"}})
    {
        oJob.Await(pszNumber + std::string("\x1b[?1049h"));
        EXPECT_EQ(write(oJob.aiFds[0], pszKey, 1), 1);
    }
    oJob.Await("\x1b[?1049l");
    Live    oStuck("watch", true);  // nobody reads it, nor lets go of what is held up
    winsize oSize   = {60, 200, 0, 0};
    pollfd  oTaking = {oStuck.aiFds[1], POLLOUT, 0};
    EXPECT_TRUE(Becomes([&] {
        oSize.ws_row ^= 1;  // it draws anew, until it is behind
        ioctl(oStuck.aiFds[0], TIOCSWINSZ, &oSize);
        return poll(&oTaking, 1, 1) == 0;
    }));
    tcflow(oStuck.aiFds[1], TCOOFF), oStuck.ooProcess->Kill(SIGTERM, 0);
    oStuck.Await("\x1b[?1049l");
}

TEST_F(PanelTest, PreviewShowsThePercentagesInTheirOrder)
{
    const std::string strSheet = At("sheet.png"), strMake = "preview " + strSheet;
    const std::string strSmall =
        " -- -v 104 48 60 48 65000 24 136 160 3 6 29 no no - - no RGB_FULL 444 8 -a 1 1 9 9 -p 2 20 102 30 ";
    setenv("TMPDIR", m_oFolder.c_str(), 1);
    setenv("LD_LIBRARY_PATH", m_oFolder.c_str(), 1);
    std::ofstream(At("libTavrin.so.1")) << "not the library of the preview";
    const std::tuple<std::string, int, std::vector<KUINT32>, std::string> aoCases[] = {
        {strSmall + "-l 16", 0, {0, 25, 50, 75, 100}, ""},
        {" --at 100 --at 3 --at 40" + strSmall + "-et 1 -l 400", 0, {100, 3, 40}, ""},  // runs that end by themselves
        {strSmall + "-d 9 -l 16", 255, {}, ""},
        {" -- -x", 255, {}, ""},
        {" -- -h", 1, {}, "before it showed 0 %"},
    };
    for (const auto& [strArguments, iStatus, auiPercents, strSays] : aoCases)
    {
        Expect(strMake + strArguments, iStatus, strSays);
        EXPECT_EQ(std::pair(CountFiles("tavrin-"), fs::exists(strSheet)), std::pair(0L, iStatus == 0)) << strArguments;
        if (iStatus != 0) continue;
        const KUINT32 uiAcross = auiPercents.size() > 4 ? 3 : 2, uiWidth = 16 + uiAcross * 120;
        const auto    auiSheet = ReadPng(strSheet, uiWidth, 16 + 2 * (16 + 48 + 28));
        for (KUINT32 uiAt = 0; uiAt < auiPercents.size(); ++uiAt)
        {
            const KUINT32 uiBar = (16 + uiAt / uiAcross * 92) * uiWidth + 16 + uiAt % uiAcross * 120 + 2;
            for (KUINT32 ui = 1; ui < 100; ++ui)  // inside its outline: the first row and the last
                EXPECT_EQ(std::pair(auiSheet[uiBar + 21 * uiWidth + ui] & 0xFF, auiSheet[uiBar + 29 * uiWidth + ui] & 0xFF),
                          ui < auiPercents[uiAt] ? std::pair(255u, 255u) : std::pair(0u, 0u))
                    << auiPercents[uiAt] << " %, " << ui;
        }
        fs::remove(strSheet);
    }
    // A viewer that is elsewhere has no tool beside it.
    Expect("run -- sh -c 'cp " BOARD_PANEL "-viewer " + At("viewer") + "; PATH= " + At("viewer") + " " + strMake + "'", 1,
           "tavrin-board: QelProgressBarDisplay: exec: No such file or directory; is it installed?\n");
    std::ofstream(At("QelProgressBarDisplay")) << "#!/bin/sh\nkill -SEGV $$\n";
    fs::permissions(At("QelProgressBarDisplay"), fs::perms::all);
    Expect("run -- " + At("viewer") + " " + strMake, 139,
           "tavrin-board: QelProgressBarDisplay: ended by signal 11 (Segmentation fault)\n");
    Expect("preview --at 50 " + strSheet + " --at 100 -- -l 16 --ProgressRect 0 0 1023 767", 0, "");
    const auto auiSheet = ReadPng(strSheet, 1920, 16 + 16 + 702 + 28);  // scaled down
    for (const auto& [uiX, uiRed] : {std::pair{416u, 255u}, {552u, 0u}, {1504u, 255u}})
        EXPECT_EQ(auiSheet[416 * 1920 + uiX] & 0xFF, uiRed) << uiX;
    for (const auto& [pszFrame, uiSide] : {std::pair{"frame01.png", 4u}, {"frame02.png", 4u}, {"frame03.png", 8u}})
        WritePngFile({uiSide, uiSide, std::vector<KUINT8>(size_t{uiSide} * uiSide * 4)}, At(pszFrame), EPacking::REPEATING);
    std::string strOdd, strPng = ReadFile(strSheet);
    const auto  fBreak = [&](const std::string& strFrame, const std::string& strBytes, const std::string& strWhy) {
        std::ofstream(At("oddframe") + strFrame) << strBytes;
        strOdd += "<frame" + strFrame + ": no PNG that can be read (" + strWhy + "): a block moves instead of the frames>\n";
    };
    fBreak("01.png", strPng.substr(0, strPng.size() - 1), "it is cut short");
    fBreak("02.png", strPng.replace(strPng.size() - 13, 1, "?"), "a checksum is wrong");
    const std::string strLarge("\0\0\x20\0\0\0\x20\x01\x08\x06\0\0\0\xb9\xf6\x19\xfc\0\0\0\1IDAT", 25);  // 8192x8193
    fBreak("03.png", strPng.substr(0, 16) + strLarge, "too large");
    const std::pair<std::string, std::string> aoWarnings[] = {
        {"-d 9 -a 1 1 9 9 -f " + At("oddframe"), strOdd},
        {"-d 9 " + strSmall.substr(4) + "-i " + At("frame01.png"), "4x4, where the output has 104x48"},
        {"-i " + strSheet, "1920x762, where the output has 1024x768: it is cut, not scaled, and covers only a part>"},
        {"-d 0 -et 1 -p 0 0 9 9 -a 1 1 9 9 -i " + At("none.png"), "none.png: No such file"},
        {"-d 9 -i " BOARD_PANEL, "no PNG that can be read"},
        {"-d 9 -a 1 1 9 9 -f " + At("none"), "none01.png: No such file"},
        {"-a 1 1 9 9 -f " + At("frame"),
         "<frame01.png: 4x4, where the animation has 8x8: it is not scaled, and covers only a part>\nSupplied"},
    };
    for (const auto& [strArguments, strSays] : aoWarnings)
        Expect(strMake + " --at 50 -- -l 16 " + strArguments + " 2>&1 | sed 's/.*frame0/<frame0/; s/$/>/'", 0, strSays);
    fs::remove(strSheet);
    const auto fHasPixels = [](const auto& ro) { return ro.path().filename() == "board.pixels-0"; };
    for (const int iSignal : {SIGTERM, SIGKILL})
    {
        Live oEnded(strMake + strSmall + " -l 10000 -i " + At("none") + " 2>/dev/null");
        EXPECT_TRUE(Becomes([&] { return std::any_of(fs::recursive_directory_iterator(m_oFolder), {}, fHasPixels); }));
        const pid_t iGroup = oEnded.ooProcess->GetPid();
        oEnded.ooProcess->Kill(iSignal, iSignal);
        pollfd     oPipe  = {oEnded.aiFds[0], POLLIN, 0};
        const bool bEnded = poll(&oPipe, 1, 10'000) == 1 && oPipe.revents == POLLHUP;
        EXPECT_TRUE(bEnded || kill(-iGroup, SIGKILL) != 0) << "the tool still had the pipe";
        EXPECT_TRUE((CountFiles("tavrin-") == 0 || iSignal == SIGKILL) && !fs::exists(strSheet));
    }
    unsetenv("LD_LIBRARY_PATH");
}
}
