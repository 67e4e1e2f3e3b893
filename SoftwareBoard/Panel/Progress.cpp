#include <memory>

#include "Panel.h"

using namespace SoftwareBoard;

namespace Panel
{
Action AddProgress(CLI::App& roCommand, const PassedOn&)
{
    struct SOptions
    {
        KUINT32 uiPercent = 0;
        KUINT32 uiDevice  = 0;
    };
    const auto poOptions = std::make_shared<SOptions>();
    AddNumber(roCommand, "PERCENT", poOptions->uiPercent, 0, 100, "The progress, 0 to 100")->required();
    AddDevice(roCommand, poOptions->uiDevice);

    return [poOptions] {
        // Only the low byte: whoever writes the rest of the register at the same time loses nothing.
        Board::Open().m_oState.WriteRegisterLowByte(poOptions->uiDevice, uiProgressReg,
                                                    static_cast<KUINT8>(poOptions->uiPercent));
    };
}
}
