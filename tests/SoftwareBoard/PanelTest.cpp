// The front panel, as a shell calls it.
#include <png.h>

#include <cstdio>
#include <fstream>

#include "BoardWorld.h"

namespace
{
namespace fs = std::filesystem;

class PanelTest : public BoardWorld
{
protected:
    // What it prints: results on standard output, errors on standard error. 128 and more is a signal, as shells count.
    static void Expect(const std::string& strArguments, int iStatus, const std::string& strContained)
    {
        const char* const pszWhich = iStatus == 0 ? " 2>/dev/null" : " 2>&1 >/dev/null";
        std::FILE* const  poPipe   = popen((BOARD_PANEL " " + strArguments + pszWhich).c_str(), "re");
        std::string       strText(8192, '\0');
        strText.resize(std::fread(strText.data(), 1, strText.size(), poPipe));
        const int iWait = pclose(poPipe);
        EXPECT_EQ(WIFEXITED(iWait) ? WEXITSTATUS(iWait) : 128 + WTERMSIG(iWait), iStatus) << strArguments << "\n" << strText;
        EXPECT_NE(strText.find(strContained), std::string::npos) << strArguments << " says:\n" << strText;
    }
    std::string At(const char* pszFile) const { return (m_oFolder / pszFile).string(); }
};

std::vector<KUINT8> ReadPng(const std::string& strPath, KUINT32 uiWidth, KUINT32 uiHeight)
{
    png_image oImage = {};
    oImage.version   = PNG_IMAGE_VERSION;
    png_image_begin_read_from_file(&oImage, strPath.c_str());
    EXPECT_EQ(std::pair(oImage.width, oImage.height), std::pair(uiWidth, uiHeight)) << strPath;
    oImage.format = PNG_FORMAT_RGBA;
    std::vector<KUINT8> auiRgba(PNG_IMAGE_SIZE(oImage));
    EXPECT_NE(png_image_finish_read(&oImage, nullptr, auiRgba.data(), 0, nullptr), 0) << strPath;
    return auiRgba;
}

TEST_F(PanelTest, CommandLines)
{
    InClient([](TestClient& ro) { EXPECT_EQ(ro.TBoard_RegWrite(ro.hDev, 7932, 0xABCDEF01), TStatus_OK); });
    Expect("progress 100", 0, "");  // the low byte and no more
    for (const std::string strWrong : {"50%", "1e1", "+5", "-5", "101", "4294967297", "0x5", "''"})
        Expect("progress " + strWrong, 2, "0 to 100");
    for (const std::string strWrong : {"3", "3:1.33", "3:1.33.0.0", "10000:1.33.0", "3:256.33.0", "3:1.33.0@", "3:1.33.0/c3e7x"})
        Expect("create --fpga " + strWrong, 2, "'" + strWrong + "'");
    const std::string strPath = "run -- sh -c 'echo =$LD_LIBRARY_PATH='", strBin = fs::path(TAVRIN_LIBRARY).parent_path();
    const std::tuple<std::string, int, std::string> aoCases[] = {
        {"", 2, "subcommand"},
        {"snapshot --help", 0, "OUTPUT"},
        {"progress", 2, "PERCENT"},
        {"progress 5 --device 1", 1, "no device 1"},
        {"status -- x", 2, "--"},
        {"run", 2, "COMMAND"},
        {"run -- no-such-command", 1, "no-such-command"},
        {"run -- printf '<%s>' -- '[a,b]' --help '' status", 0, "<--><[a,b]><--help><><status>"},
        {strPath, 0, "=" + strBin + "="},
        {"run -- env LD_LIBRARY_PATH=/nowhere " BOARD_PANEL " " + strPath, 0, "=" + strBin + ":/nowhere="},
        {"run -- sh -c 'exit 7'", 7, ""},
        {"run -- sh -c 'kill -TERM $$'", 128 + SIGTERM, ""},
        {"snapshot 2 x.png", 1, "no output 2"},
        {"create --devices 0", 2, "--devices"},
        {"create --outputs 17", 2, "--outputs"},
        {"create --no-fpga --fpga 3:1.33.0", 2, "--no-fpga"},
        {"status", 0, "register 7932 (progress): 0xabcdef64 (100 %)"},  // none of them has made another board
        {"create --devices 2 --outputs 0 --fpga 3:1.33.0 --fpga 4000:255.2.65535@e4/1234", 0, "devices 2"},
        {"status", 0, "device 1\n  FPGA 0: device code 0x0003, version 1.33.0, address 0xd0, vendor 0xc3e7\n"
                      "  FPGA 1: device code 0x4000, version 255.2.65535, address 0xe4, vendor 0x1234\n  register 6908"},
        {"create --no-fpga --outputs 1", 0, "FPGAs of each 0"},
        {"status", 0, "device 0\n  register 6908"},
    };
    for (const auto& [strArguments, iStatus, strContained] : aoCases)
        Expect(strArguments, iStatus, strContained);
}

TEST_F(PanelTest, SnapshotIsWhatTheOutputShowsNow)
{
    constexpr KUINT32 uiWidth = 20, uiHeight = 12;
    const auto fPixel = [](KUINT32 uiX, KUINT32 uiY) { return std::array{KUINT8(uiX * 9), KUINT8(uiY * 11), KUINT8(uiX ^ uiY)}; };
    InClient([&](TestClient& ro) {
        tagTBuffer_PlaneInfo oInfo = {};
        ro.MakeBuffer(uiWidth, uiHeight);
        EXPECT_EQ(ro.TBuffer_GetPlaneInfo(ro.hBuffer, &oInfo), TStatus_OK);
        KUINT8* const puiPlane = ro.Access();
        for (const auto& [uiHActive, uiVActive] : {std::pair{20u, 12u}, {7u, 5u}, {33u, 15u}})
        {
            EXPECT_EQ(ro.Show(ro.Output(1), uiHActive, uiVActive), TStatus_OK);
            std::fill_n(puiPlane, oInfo.auiPitchInBytes[0] * uiHeight, KUINT8{0xEE});  // the padding too
            for (KUINT32 uiY = 0; uiY < uiHeight; ++uiY)
                for (KUINT32 uiX = 0; uiX < uiWidth; ++uiX)  // drawn after the enable, alpha anything
                    *std::copy_n(fPixel(uiX, uiY).begin(), 3, puiPlane + uiY * oInfo.auiPitchInBytes[0] + uiX * 4) = KUINT8(uiX);
            Expect("snapshot 1 " + At("screen.png"), 0, "");
            std::vector<KUINT8> auiExpected;
            for (KUINT32 uiAt = 0; uiAt < uiHActive * uiVActive; ++uiAt)
            {
                const KUINT32 uiX = uiAt % uiHActive, uiY = uiAt / uiHActive;
                const auto    oRgb = uiX < uiWidth && uiY < uiHeight ? fPixel(uiX, uiY) : std::array<KUINT8, 3>{};
                auiExpected.insert(auiExpected.end(), {oRgb[0], oRgb[1], oRgb[2], 255});
            }
            EXPECT_EQ(ReadPng(At("screen.png"), uiHActive, uiVActive), auiExpected) << uiHActive << "x" << uiVActive;
        }
    });
}

TEST_F(PanelTest, ScreenOutlivesItsHolderAndAFailedSnapshotLeavesNoFile)
{
    Expect("snapshot 0 " + At("off.png"), 1, "output 0 is off");
    Process oHolder(HoldOutput);
    oHolder.Await();
    Expect("status", 0, "output 0: 32x8, 60 Hz, held by " + std::to_string(oHolder.GetPid()) + " (");
    oHolder.Kill();
    Expect("status", 0, "output 0: 32x8, 60 Hz, held by nobody\n  output 1: off\n");
    Expect("snapshot 0 " + At("screen.png"), 0, "");
    EXPECT_EQ(ReadPng(At("screen.png"), 32, 8)[0], 200) << "what the killed process drew";

    for (const char* pszNoFile : {"none/x.png", "."})
        Expect("snapshot 0 " + At(pszNoFile), 1, At(pszNoFile));
    std::filesystem::resize_file(At("board.pixels-0"), 100);
    Expect("snapshot 0 " + At("cut.png"), 1, "cut short");
    std::filesystem::remove(At("board.pixels-0"));
    Expect("snapshot 0 " + At("gone.png"), 1, "board.pixels-0");
    EXPECT_EQ(CountFiles(""), 3) << "only the state, the locks and the first picture";
}

TEST_F(PanelTest, CreateReplacesABoardAndNothingElse)
{
    std::ofstream(At("notes")) << "mine";
    std::filesystem::create_directory(At("board.pixels-7"));
    Process oUser(HoldOutput);
    oUser.Await();
    Expect("create --devices 3", 1, "in use");
    oUser.Kill();
    Expect("create --devices 3", 0, "devices 3");
    Expect("status", 0, "output 0: off");
    EXPECT_EQ(CountFiles(""), 4) << "state, locks, notes and the folder; the picture of the old board is gone";

    std::ofstream(At("board.state")) << "somebody's notes, longer than the header of a board";
    for (const char* pszCommand : {"create", "status"})
        Expect(pszCommand, 1, "board.state: not the state of a board");
    EXPECT_EQ(std::filesystem::file_size(At("board.state")), 51u);
}
}
