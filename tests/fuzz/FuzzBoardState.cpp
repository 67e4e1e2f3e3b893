// The board's state file: pieces (offset of three bytes, length, bytes) written over a good one, which a last piece of
// length 0 cuts. Whatever then stands there, the board is refused or gives answers within its limits.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "Board.h"
#include "BoardError.h"
#include "DisplayStatus.h"
#include "Fuzz.h"
#include "PixelFiles.h"
#include "Printable.h"

using namespace SoftwareBoard;

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    static const struct SFolder
    {
        char acPath[32] = "/tmp/fuzz-board-XXXXXX";
        SFolder() { Must(mkdtemp(acPath) != nullptr && setenv("TAVRIN_BOARD", acPath, 1) == 0); }
        ~SFolder() { std::filesystem::remove_all(acPath); }
    } s_oMade;
    const std::string strState = std::string(s_oMade.acPath) + "/board.state";
    Board             oBoard   = (std::filesystem::remove(strState), Board::Create(DefaultPlan()));
    BoardState&       oState   = oBoard.m_oState;
    Board             oDisplay = Board::Observe();
    std::fstream      oFile(strState, std::ios::in | std::ios::out | std::ios::binary);
    while (uiSize >= 4)
    {
        const auto uiOffset = static_cast<unsigned>(puiData[0] | puiData[1] << 8 | (puiData[2] & 1) << 16);
        const auto uiLength = std::min<size_t>(puiData[3], uiSize - 4);
        oFile.seekp(uiOffset)
            .write(reinterpret_cast<const char*>(puiData + 4), static_cast<std::streamsize>(uiLength))
            .flush();
        if (puiData[3] == 0) std::filesystem::resize_file(strState, uiOffset);
        puiData += 4 + uiLength;
        uiSize -= 4 + uiLength;
    }

    // clang-format off
    const auto fTry = [](auto fBody) { try { fBody(); } catch (const BoardError&) {} };
    // clang-format on
    fTry([&] { Board::Observe(); });
    const Transaction oTransaction(oBoard.m_oLocks);
    fTry([&] { SweepPixelFiles(oTransaction, oBoard.m_oFolder, oState); });
    for (KUINT32 uiDevice = 0; uiDevice <= MAX_DEVICES; ++uiDevice)
    {
        oDisplay.m_oLocks.TryServeDevice(uiDevice);
        fTry([&] {
            const SDeviceRecord oDevice = oState.ReadDevice(uiDevice);
            Must(uiDevice < oState.GetDeviceCount() && oDevice.uiOutputCount <= MAX_OUTPUTS &&
                 oDevice.uiFpgaCount <= MAX_FPGAS);
            for (KUINT32 uiOutput = 0; uiOutput <= oDevice.uiOutputCount; ++uiOutput)
                fTry([&] {
                    Must(oState.ReadOutput(oTransaction, uiDevice, uiOutput).bEnabled <= TRUE &&
                         uiOutput < oDevice.uiOutputCount);
                    const SVerdict oVerdict = oState.ReadVerdict(oTransaction, uiDevice, uiOutput);
                    Must(oVerdict.acConnector.back() == '\0' && oVerdict.acReason.back() == '\0');
                    const auto ooDisplay = Panel::ReadDisplayStatus(oTransaction, oBoard, uiDevice, uiOutput);
                    Must(ooDisplay.has_value());
                    const std::string strDisplay = Panel::DescribeDisplay(*ooDisplay);
                    Must(strDisplay == MakePrintable(strDisplay));
                });
        });
        fTry([&] {
            oState.WriteRegister(uiDevice, REG_PROGRESS_UPDATE, 7),
                Must(oState.ReadRegister(uiDevice, REG_PROGRESS_UPDATE) == 7);
        });
    }
    return 0;
}
