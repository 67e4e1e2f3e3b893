#include <cstdio>
#include <memory>

#include "Board.h"
#include "Commands.h"
#include "Options.h"
#include "Printable.h"

namespace SoftwareBoard::Panel
{
namespace
{
// Removes cMark and what follows it from the text. Returns what followed; nothing if the text has no cMark.
std::optional<std::string> TakeTail(std::string& rstrText, char cMark)
{
    const size_t uiMark = rstrText.find(cMark);
    if (uiMark == std::string::npos)
        return std::nullopt;
    const std::string strTail = rstrText.substr(uiMark + 1);
    rstrText.resize(uiMark);
    return strTail;
}

constexpr char FPGA_FORM[] = "DEVICE:MAJOR.MINOR.BUILD[@ADDRESS][/VENDOR]";

// Takes the text apart from its end.
std::optional<tagTBoard_FpgaInfo> ParseFpga(std::string strText)
{
    const auto ouiVendor   = ParseNumber(TakeTail(strText, '/').value_or("c3e7"), 16, 0xFFFF);
    const auto ouiAddress  = ParseNumber(TakeTail(strText, '@').value_or("d0"), 16, 0xFFFFFFFF);
    const auto ostrVersion = TakeTail(strText, ':');
    const auto ouiDevId    = ParseNumber(strText, 16, 0xFFFF);
    if (!ostrVersion)
        return std::nullopt;
    std::string strMajor = *ostrVersion;
    std::string strMinor = TakeTail(strMajor, '.').value_or("");
    const auto  ouiBuild = ParseNumber(TakeTail(strMinor, '.').value_or(""), 10, 0xFFFF);
    const auto  ouiMinor = ParseNumber(strMinor, 10, 0xFF);
    const auto  ouiMajor = ParseNumber(strMajor, 10, 0xFF);
    if (!ouiDevId || !ouiMajor || !ouiMinor || !ouiBuild || !ouiAddress || !ouiVendor)
        return std::nullopt;
    return MakeFpga(static_cast<KUINT16>(*ouiDevId), static_cast<KUINT8>(*ouiMajor), static_cast<KUINT8>(*ouiMinor),
                    static_cast<KUINT16>(*ouiBuild), *ouiAddress, static_cast<KUINT16>(*ouiVendor));
}
}

Action AddCreate(CLI::App& roCommand, const PassedOn&)
{
    const auto poPlan   = std::make_shared<SBoardPlan>(DefaultPlan());
    const auto pbNoFpga = std::make_shared<bool>(false);

    AddNumber(roCommand, "--devices", poPlan->uiDeviceCount, 1, MAX_DEVICES, "Number of devices (default 1)");
    AddNumber(roCommand, "--outputs", poPlan->uiOutputCount, 0, MAX_OUTPUTS, "Video outputs of every device (default 2)");
    CLI::Option* const poFpga = roCommand.add_option_function<std::vector<std::string>>(
        "--fpga",
        [poPlan](const std::vector<std::string>& roTexts) {
            poPlan->aoFpgas.clear();
            for (const std::string& strText : roTexts)
            {
                const auto ooFpga = ParseFpga(strText);
                if (!ooFpga)
                    throw CLI::ValidationError("--fpga", "'" + strText + "' is not " + FPGA_FORM);
                poPlan->aoFpgas.push_back(*ooFpga);
            }
            if (poPlan->aoFpgas.size() > MAX_FPGAS)
                throw CLI::ValidationError("--fpga", "at most " + std::to_string(MAX_FPGAS) + " of them");
        },
        std::string("An FPGA of every device, as ") + FPGA_FORM +
            ":\ndevice code, address and vendor in hexadecimal (address d0 and vendor c3e7\n"
            "unless given), the version in decimal. May be repeated; without any there is\none, 3:1.33.0");
    LetRepeat(poFpga->type_name("FPGA"));
    roCommand.add_flag("--no-fpga", *pbNoFpga, "No FPGA at all")->excludes(poFpga);

    return [poPlan, pbNoFpga] {
        if (*pbNoFpga)
            poPlan->aoFpgas.clear();
        const Board oBoard = Board::Create(*poPlan);
        std::printf("board %s: devices %u, outputs of each %u, FPGAs of each %zu\n",
                    MakePrintable(oBoard.m_oFolder.GetPath()).c_str(), poPlan->uiDeviceCount, poPlan->uiOutputCount,
                    poPlan->aoFpgas.size());
    };
}
}
