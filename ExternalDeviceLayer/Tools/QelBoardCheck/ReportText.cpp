#include <cstdio>

#include "Report.h"

namespace BoardCheck
{
namespace
{
// Text that comes from the library cannot command the terminal.
std::string Printable(const Json& roJson)
{
    if (roJson.is_null())
        return "not known";
    std::string strText = roJson.is_string() ? roJson.get<std::string>() : ToText(roJson);
    for (char& rc : strText)
    {
        if (rc < ' ' || rc > '~')
            rc = '?';
    }
    return strText;
}

const char* YesOrNo(const Json& roJson)
{
    return roJson == true ? "yes" : "no";
}

void PrintLibrary(const Json& roLibrary)
{
    if (roLibrary["path"].is_null())
    {
        std::printf("library: none that can be opened\n");
        return;
    }
    std::printf("library: %s\n", Printable(roLibrary["path"]).c_str());
    std::printf("  file %s, version %s, build id %s\n", Printable(roLibrary["file"]).c_str(),
                Printable(roLibrary["version"]).c_str(), Printable(roLibrary["build_id"]).c_str());
    std::string strAlso;
    for (const Json& roName : roLibrary.value("also", Json::array()))
        strAlso += ", and " + Printable(roName);
    std::printf("  it exports %zu of our operations%s\n", roLibrary["operations"].size(), strAlso.c_str());
    for (const Json& roName : roLibrary["missing"])
        std::printf("  it lacks %s\n", Printable(roName).c_str());
}

void PrintFpga(const Json& roFpga, size_t uiFpga)
{
    std::printf("  FPGA %zu: %s, device code 0x%04x (%s), vendor 0x%04x, bus %u, address 0x%02x, record of %u bytes\n",
                uiFpga, Printable(roFpga["name"]).c_str(), roFpga["device_code"].get<unsigned>(),
                Printable(roFpga["device_name"]).c_str(), roFpga["vendor"].get<unsigned>(), roFpga["bus"].get<unsigned>(),
                roFpga["address"].get<unsigned>(), roFpga["size"].get<unsigned>());
    std::printf("    version %s (%u.%u.%u): known %s, supported %s\n", Printable(roFpga["version"]).c_str(),
                roFpga["major"].get<unsigned>(), roFpga["minor"].get<unsigned>(), roFpga["build"].get<unsigned>(),
                YesOrNo(roFpga["known"]), YesOrNo(roFpga["supported"]));
    std::printf("    answers:");
    for (const auto& [strName, roAnswer] : roFpga["capabilities"].items())
    {
        if (roAnswer == true)
            std::printf(" %s", strName.c_str());
        else if (!roAnswer.is_boolean())
            std::printf(" %s %s", strName.c_str(), ToText(roAnswer).c_str());
    }
    std::printf("; no to the others\n");
}

void PrintDevice(const Json& roDevice)
{
    std::printf("device %s: QelProgressBarDisplay ", ToText(roDevice["device"]).c_str());
    if (roDevice["may_be_driven"] == true)
        std::printf("would drive it\n");
    else
        std::printf("would not drive it: %s\n", Printable(roDevice["reason"]).c_str());
    for (size_t uiFpga = 0; uiFpga < roDevice["fpgas"].size(); ++uiFpga)
        PrintFpga(roDevice["fpgas"][uiFpga], uiFpga);
    if (!roDevice["outputs"].is_null())
        std::printf("  outputs: %u\n", roDevice["outputs"].get<unsigned>());
    if (roDevice["registers"].is_null())
        return;
    for (const auto& [strNumber, roValue] : roDevice["registers"].items())
        std::printf("  register %s: 0x%08x\n", strNumber.c_str(), roValue.get<unsigned>());
    std::printf("   ");
    for (const auto& [strField, roValue] : roDevice["progress"].items())
        std::printf(" %s %s", strField.c_str(), ToText(roValue).c_str());
    std::printf("\n");
}

// One line an assumption.
void PrintCheck(const Json& roCheck)
{
    const std::string strResult = roCheck["result"], strCame = Printable(roCheck["came"]);
    std::string       strLine = Printable(roCheck["expected"]);
    if (roCheck.contains("device"))
        strLine = "device " + ToText(roCheck["device"]) + ": " + strLine;
    if (strResult == FAILS)
        strLine = "expected: " + strLine + "; came: " + strCame;
    else if (strCame != AS_EXPECTED)
        strLine += " (" + strCame + ")";
    std::printf("%-9s  %-17s  %s\n", strResult.c_str(), roCheck["name"].get<std::string>().c_str(), strLine.c_str());
}

// What could not be given back.
void PrintLeft(const Json& roLeft)
{
    if (roLeft.contains("output"))
        std::printf("output %s may still be on: ", ToText(roLeft["output"]).c_str());
    else
        std::printf("register %s may not hold %s again: ", ToText(roLeft["register"]).c_str(),
                    ToText(roLeft["held"]).c_str());
    std::printf("%s\n", Printable(roLeft["came"]).c_str());
}
}

void PrintText(const Json& roReport)
{
    PrintLibrary(roReport["library"]);
    for (const Json& roDevice : roReport["devices"])
        PrintDevice(roDevice);
    std::printf("\n");
    for (const Json& roCheck : roReport["checks"])
        PrintCheck(roCheck);
    for (const Json& roLeft : roReport["left"])
        PrintLeft(roLeft);
}
}
