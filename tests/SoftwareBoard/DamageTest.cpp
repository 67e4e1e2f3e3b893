// Boards that were damaged underneath or are none: failures, never a signal, and nothing written to them.
#include <sys/stat.h>

#include "Board.h"
#include "BoardWorld.h"

namespace
{
namespace fs = std::filesystem;

void Overwrite(const fs::path& roFile, size_t uiOffset, const std::string& strBytes)
{
    std::fstream oFile(roFile, std::ios::in | std::ios::out | std::ios::binary);
    oFile.seekp(static_cast<long>(uiOffset)).write(strBytes.data(), static_cast<long>(strBytes.size()));
}

// Only root can give a file away; to others it is made a link, which is refused as well.
void Disown(const fs::path& roFile)
{
    if (geteuid() == 0)
        EXPECT_EQ(chown(roFile.c_str(), 12345, 12345), 0);
    else
        fs::remove_all(roFile), fs::create_symlink("/etc/passwd", roFile);
}

// A client that opened the board while it was whole, with all it needs to call every operation later.
struct Veteran : TestClient
{
    TVideoOut_Handle hVideoOut = (MakeBuffer(), Output(0)), hNew = nullptr;
    TBuffer_Handle   hNewBuffer = nullptr;
    KUINT32          ui         = 0;

    // First what needs no more than the registers, then what needs the record of the device, last what needs all of them.
    std::vector<TStatus> CallAll()
    {
        tagTBoard_FpgaInfo oFpga = {.uiSize = sizeof(oFpga)};
        // clang-format off
        return {TBoard_RegWrite(hDev, 7932, 1), TBoard_RegRead(hDev, 7932, &ui), Show(hVideoOut), TVideoOut_Disable(hVideoOut),
                TBoard_GetFpgaCount(hDev, &ui), TBoard_GetFpgaInfo(hDev, 0, &oFpga), TVideoOut_GetCount(hDev, &ui),
                TVideoOut_GetHandle(hDev, 0, TAccessMode_READWRITE, &hNew),
                TBuffer_CreateVideo(hDev, TPixelFormat_R8G8B8A8, 8, 8, &hNewBuffer)};
        // clang-format on
    }
};

struct DamageTest : BoardWorld
{
    // A digit for each device that there is: 1 if it can be had.
    static void ExpectDevices(const std::string& strDevices, const char* pszWhen)
    {
        InClient([&](TestClient& ro) {
            alarm(20);  // nobody writes to a pipe
            std::string strFound(ro.Tavrin_GetDeviceCount(), '0');
            for (KUINT32 ui = 0; ui < strFound.size(); ++ui) strFound[ui] += ro.Tavrin_GetDevice(ui) != nullptr;
            EXPECT_EQ(strFound, strDevices) << pszWhen;
        });
    }
    const fs::path m_oState = m_oFolder / "board.state";
};

TEST_F(DamageTest, FailsWhatNeedsTheDamagedPartAndIsNotWrittenTo)
{
    constexpr size_t  uiDevice = 2 * 4096 + 65536, uiLabel = 3 * uiDevice, uiSize = uiLabel + 80;
    const std::string strNoDevice    = "TAVRINBD\5" + std::string(71, '\0'),
                      strNineDevices = strNoDevice.substr(0, 12) + '\t' + strNoDevice.substr(13);
    const std::tuple<const char*, const char*, size_t, size_t, std::string, const char*> aoDamages[] = {
        // the devices that there are, new size, offset, bytes, and the reason that who has it open is told
        {"nothing left", "", 0, 0, "", "size of the file"},
        {"cut by a byte", "", uiSize - 1, 0, "", "size of the file"},
        {"longer by a byte", "", uiSize + 1, 0, "", "size of the file"},
        {"another magic", "", uiSize, uiLabel, "t", "not the state of a board"},
        {"another layout", "", uiSize, uiLabel + 8, "\x02", "a board of layout 2"},
        {"9 devices", "", uiSize, uiLabel + 12, "\x09", "number of devices"},
        {"a label of 9 devices", "", 9 * uiDevice + 80, 9 * uiDevice, strNineDevices, "size of the file"},
        {"a label of no device", "", 80, 0, strNoDevice, "size of the file"},
        {"17 outputs", "011", uiSize, 0, "\x11", "record of device 0"},
        {"17 FPGAs", "011", uiSize, 4, "\x11", "record of device 0"},
        {"FPGA name without an end", "011", uiSize, 12, std::string(64, 'x'), "record of device 0"},
        {"FPGA name of two lines", "011", uiSize, 13, "\n", "record of device 0"},
        {"FPGA of another name", "111", uiSize, 12, "~", ""},
        {"another output neither on nor off", "111", uiSize, 4096 + 256, "\x02", ""},
        {"17 outputs of device 1", "101", uiSize, uiDevice, "\x11", ""},
        {"whole", "111", uiSize, 0, "", ""},
    };
    Process([&] {
        const auto        oOpen = SoftwareBoard::Board::Create(Plan(3));
        Veteran           oVeteran;
        const std::string strWhole = ReadFile(m_oState);
        EXPECT_EQ(strWhole.size(), uiSize);
        for (const auto& [pszName, pszDevices, uiNewSize, uiOffset, strBytes, pszWhy] : aoDamages)
        {
            fs::resize_file(m_oState, uiNewSize);
            Overwrite(m_oState, uiOffset, strBytes);
            const std::string strDamaged = ReadFile(m_oState);
            ExpectDevices(pszDevices, pszName);
            const std::string strReason = ReasonOf([&] { oOpen.m_oState.ReadDevice(0); });
            EXPECT_NE(strReason.find(pszWhy), std::string::npos) << pszName << ": " << strReason;
            const auto   oResults = oVeteran.CallAll();
            const size_t uiWorks  = *pszDevices == '\0' ? 0 : *pszDevices == '0' ? 4 : oResults.size();
            for (size_t uiCall = 0; uiCall < oResults.size(); ++uiCall)
                EXPECT_EQ(oResults[uiCall], uiCall < uiWorks ? TStatus_OK : TStatus_FAIL) << pszName << ", call " << uiCall;
            EXPECT_TRUE(uiWorks > 0 || ReadFile(m_oState) == strDamaged) << pszName << ": was written to";
            fs::resize_file(m_oState, uiSize);
            Overwrite(m_oState, 0, strWhole);
        }
    });
}

TEST_F(DamageTest, WhatIsNotAPlainFileInAFolderOfTheUserIsRefused)
{
    const fs::path oElsewhere = m_oFolder / "elsewhere", oBoard = m_oFolder / "board", oInside = oBoard / "board.state";
    const std::tuple<const char*, const char*, std::function<void()>> aoPlaces[] = {
        // clang-format off
        {"its group may write",          "others may write to it", [&] { chmod(oBoard.c_str(), 0770); }},
        {"others may write",             "others may write to it", [&] { chmod(oBoard.c_str(), 0707); }},
        {"state is a link",              "a symbolic link is refused", [&] { fs::create_symlink(oElsewhere / "whole", oInside); }},
        {"state is a folder",            "open: Is a directory", [&] { fs::create_directory(oInside); }},
        {"state is a pipe",              "not a plain file of this user", [&] { mkfifo(oInside.c_str(), 0600); }},
        {"what is being made is a link", "a symbolic link is refused", [&] { fs::create_symlink(oElsewhere / "new", oBoard / "board.new"); }},
        {"folder is a link",             "no symbolic link: Not a directory", [&] { fs::remove(oBoard); fs::create_directory_symlink(oElsewhere, oBoard); }},
        {"others own the state",         ": ", [&] { fs::copy_file(oElsewhere / "whole", oInside); Disown(oInside); }},
        {"others own the folder",        ": ", [&] { Disown(oBoard); }},
        {"folder is a file",             "no symbolic link: Not a directory", [&] { fs::remove(oBoard); std::ofstream(oBoard) << "mine"; }},
        // clang-format on
    };
    ExpectDevices("1", "made");
    fs::create_directory(oElsewhere);
    fs::copy_file(m_oState, oElsewhere / "whole");
    setenv("TAVRIN_BOARD", (oBoard.string() + "/").c_str(), 1);
    for (const auto& [pszName, pszWhy, fPrepare] : aoPlaces)
    {
        mkdir(oBoard.c_str(), 0700);
        fPrepare();
        ExpectDevices("", pszName);
        const std::string strReason = ReasonOf(SoftwareBoard::Board::Open);
        EXPECT_NE(strReason.find(pszWhy), std::string::npos) << pszName << ": " << strReason;
        fs::remove_all(oBoard);
    }
    EXPECT_EQ(EntriesOf(oElsewhere.c_str()), 1) << "something was made behind a link";
    setenv("TAVRIN_BOARD", m_oFolder.c_str(), 1);
    mkfifo((m_oFolder / "board.pixels-new").c_str(), 0600);
    InClient([](TestClient& ro) {
        alarm(20);
        EXPECT_EQ(ro.TBuffer_CreateVideo(ro.hDev, TPixelFormat_R8G8B8A8, 8, 8, &ro.hBuffer), TStatus_FAIL);
    });
}
}
