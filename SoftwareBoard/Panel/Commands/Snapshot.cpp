#include <memory>

#include "Board.h"
#include "BoardError.h"
#include "Commands.h"
#include "Options.h"
#include "Picture.h"
#include "PngFile.h"

namespace SoftwareBoard::Panel
{
namespace
{
// Of the board that is there when it returns.
Screen OpenScreen(KUINT32 uiDevice, KUINT32 uiOutput)
{
    for (;;)
    {
        const Board oBoard = Board::Observe();
        try
        {
            const Transaction   oTransaction(oBoard.m_oLocks);
            const SOutputRecord oOutput = oBoard.m_oState.ReadOutput(oTransaction, uiDevice, uiOutput);
            if (oOutput.bEnabled == FALSE)
                throw BoardError("output " + std::to_string(uiOutput) + " is off: there is nothing to take");
            return Screen(oTransaction, oBoard.m_oFolder, oBoard.m_oState, oOutput);
        }
        catch (const BoardError&)
        {
            if (!oBoard.m_oState.IsReplaced())
                throw;
        }
    }
}
}

Action AddSnapshot(CLI::App& roCommand, const PassedOn&)
{
    struct SOptions
    {
        KUINT32     uiOutput = 0;
        KUINT32     uiDevice = 0;
        std::string strPath;
        bool        bSmall = false;
    };
    const auto poOptions = std::make_shared<SOptions>();
    AddNumber(roCommand, "OUTPUT", poOptions->uiOutput, 0, MAX_OUTPUTS - 1, "Which output, from 0")->required();
    AddPngFile(roCommand, poOptions->strPath, true, "The PNG file to write, - for standard output");
    AddDevice(roCommand, poOptions->uiDevice);
    roCommand.add_flag("--small", poOptions->bSmall, "Pack the file as small as possible, which takes ten times as long");

    return [poOptions] {
        WritePngFile(ReadWholePicture(OpenScreen(poOptions->uiDevice, poOptions->uiOutput)), poOptions->strPath,
                     poOptions->bSmall ? EPacking::SMALL : EPacking::FAST);
    };
}
}
