// Boards that were damaged underneath or are none: failures, never a signal, and nothing written to them.
#include <sys/stat.h>

#include <fstream>
#include <random>

#include "BoardWorld.h"

namespace
{
namespace fs = std::filesystem;

void Overwrite(const fs::path& roFile, size_t uiOffset, const std::string& strBytes)
{
    std::fstream oFile(roFile, std::ios::in | std::ios::out | std::ios::binary);
    oFile.seekp(static_cast<long>(uiOffset)).write(strBytes.data(), static_cast<long>(strBytes.size()));
}

std::string Contents(const fs::path& roFile)
{
    std::ifstream oFile(roFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(oFile), {}};
}

std::string RandomBytes(std::mt19937& roRandom, size_t uiCount)
{
    std::string strBytes(uiCount, '\0');
    std::generate(strBytes.begin(), strBytes.end(), [&] { return static_cast<char>(roRandom()); });
    return strBytes;
}

// A client that opened the board while it was whole, with all it needs to call every operation later.
struct Veteran : TestClient
{
    TVideoOut_Handle hVideoOut = (MakeBuffer(), Output(0)), hNew = nullptr;
    TBuffer_Handle   hNewBuffer = nullptr;
    KUINT32          ui         = 0;

    // In groups: registers, FPGAs and counts, what reads and writes the record of an output.
    std::vector<std::vector<TStatus>> CallAll()
    {
        tagTBoard_FpgaInfo oFpga = {};
        oFpga.uiSize             = sizeof(oFpga);
        return {{TBoard_RegWrite(hDev, 7932, 1), TBoard_RegRead(hDev, 7932, &ui)},
                {TBoard_GetFpgaCount(hDev, &ui), TBoard_GetFpgaInfo(hDev, 0, &oFpga), TVideoOut_GetCount(hDev, &ui),
                 TVideoOut_GetHandle(hDev, 0, TAccessMode_READWRITE, &hNew)},
                {TBuffer_CreateVideo(hDev, TPixelFormat_R8G8B8A8, 8, 8, &hNewBuffer)},
                {Show(hVideoOut), TVideoOut_Disable(hVideoOut)}};
    }
};

class DamageTest : public BoardWorld
{
protected:
    static void ExpectDevices(KUINT32 uiCount, const std::string& strWhen)
    {
        InClient([&](TestClient& ro) {
            EXPECT_EQ(ro.Tavrin_GetDeviceCount(), uiCount) << strWhen;
            EXPECT_EQ(ro.hDev != nullptr, uiCount > 0) << strWhen;
        });
    }
    const fs::path m_oState = m_oFolder / "board.state";
};

TEST_F(DamageTest, FailsWhatNeedsTheDamagedPartAndIsNotWrittenTo)
{
    std::mt19937 oRandom(1);
    const auto   fResize = [&](auto fSize) { return [=, this] { fs::resize_file(m_oState, fSize(fs::file_size(m_oState))); }; };
    const auto   fWrite  = [&](size_t uiOffset, const std::string& str) { return [=, this] { Overwrite(m_oState, uiOffset, str); }; };
    const struct
    {
        const char*           pszName;
        size_t                uiGroupsThatWork;  // of Veteran::CallAll
        std::function<void()> fDamage;
    } aoDamages[] = {
        {"nothing left", 0, fResize([](size_t) { return 0u; })},
        {"cut in the header", 0, fResize([](size_t) { return 10u; })},
        {"cut by a byte", 0, fResize([](size_t ui) { return ui - 1; })},
        {"grown", 0, fResize([](size_t ui) { return ui + 1; })},
        {"another magic", 0, fWrite(0, "t")},
        {"another layout", 0, fWrite(8, "\x02")},
        {"no devices", 0, fWrite(12, {'\0'})},
        {"9 devices", 0, fWrite(12, "\x09")},
        {"random", 0, fWrite(0, RandomBytes(oRandom, 8192))},
        {"17 outputs", 1, fWrite(4096, "\x11")},
        {"17 FPGAs", 1, fWrite(4100, "\x11")},
        {"FPGA name without an end", 1, fWrite(4108, std::string(64, 'x'))},
        {"FPGA name that is none", 1, fWrite(4108, "\x1b")},
        {"output neither on nor off", 2, fWrite(8192 + 256, "\x02")},
        {"output that shows nothing", 2, fWrite(8192 + 256, "\x01")},
    };
    Process([&] {
        Veteran           oVeteran;
        const std::string strWhole = Contents(m_oState);
        for (const auto& [pszName, uiGroupsThatWork, fDamage] : aoDamages)
        {
            fDamage();
            const std::string strDamaged = Contents(m_oState);
            EXPECT_EQ(oVeteran.Tavrin_GetDeviceCount(), uiGroupsThatWork == 0 ? 0 : 1) << pszName;
            ExpectDevices(uiGroupsThatWork == 0 ? 0 : 1, pszName);
            const auto oResults = oVeteran.CallAll();
            for (size_t uiGroup = 0; uiGroup < 3; ++uiGroup)  // the last may well work on a whole output beside the damaged one
                for (const TStatus eResult : oResults[uiGroup])
                    EXPECT_EQ(eResult, uiGroup < uiGroupsThatWork ? TStatus_OK : TStatus_FAIL) << pszName << ", " << uiGroup;
            EXPECT_EQ(oResults[3][0] == TStatus_OK, uiGroupsThatWork > 0) << pszName;
            EXPECT_TRUE(uiGroupsThatWork > 0 || Contents(m_oState) == strDamaged) << pszName << ": was written to";
            fs::resize_file(m_oState, strWhole.size());
            Overwrite(m_oState, 0, strWhole);
        }
        for (const auto& roGroup : oVeteran.CallAll())
            EXPECT_EQ(std::count(roGroup.begin(), roGroup.end(), TStatus_OK), ssize(roGroup)) << "whole again";

        for (int iRound = 0; iRound < 300; ++iRound)  // anything, anywhere in the pages that hold records
        {
            Overwrite(m_oState, oRandom() % (3 * 4096 - 200), RandomBytes(oRandom, 1 + oRandom() % 200));
            oVeteran.CallAll();
            ASSERT_EQ(fs::file_size(m_oState), strWhole.size()) << "round " << iRound;
            if (iRound % 3 == 0)
                Overwrite(m_oState, 0, strWhole);
        }
    });
}

TEST_F(DamageTest, WhatIsNotAPlainFileInAFolderOfTheUserIsRefused)
{
    const fs::path oElsewhere = m_oFolder / "elsewhere", oBoard = m_oFolder / "board", oInside = oBoard / "board.state";
    const std::pair<const char*, std::function<void()>> aoPlaces[] = {
        {"others may write", [&] { chmod(oBoard.c_str(), 0777); }},
        {"state is a link", [&] { fs::create_symlink(oElsewhere / "whole", oInside); }},
        {"state is a folder", [&] { fs::create_directory(oInside); }},
        {"state is a pipe", [&] { mkfifo(oInside.c_str(), 0600); }},
        {"locks are a link", [&] { fs::create_symlink(oElsewhere / "new", oBoard / "board.lock"); }},
        {"folder is a link", [&] { fs::remove(oBoard); fs::create_directory_symlink(oElsewhere, oBoard); }},
        {"folder is a file", [&] { fs::remove(oBoard); std::ofstream(oBoard) << "mine"; }},
    };
    ExpectDevices(1, "made");
    fs::create_directory(oElsewhere);
    fs::copy_file(m_oState, oElsewhere / "whole");
    setenv("TAVRIN_BOARD", (oBoard.string() + "/").c_str(), 1);
    for (const auto& [pszName, fPrepare] : aoPlaces)
    {
        mkdir(oBoard.c_str(), 0700);
        fPrepare();
        ExpectDevices(0, pszName);
        fs::remove_all(oBoard);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(oElsewhere), {}), 1) << "something was made behind a link";
}
}
