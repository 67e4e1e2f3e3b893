// Command lines of the panel and its viewer, an argument a line: each is refused, or the command that it names first would
// be carried out.
#include <algorithm>

#include "Commands.h"
#include "Fuzz.h"
#include "Viewer.h"

using namespace SoftwareBoard;
using namespace SoftwareBoard::Panel;

namespace
{
std::string g_strChosen;

// Adds a command. Its action, which owns what its options set, is kept but not run: it only says which command it is.
template <auto PFN_ADD> Action AddOnly(CLI::App& ro, const PassedOn& roPassedOn)
{
    return [fAction = PFN_ADD(ro, roPassedOn), &ro] { g_strChosen = ro.get_name(); };
}

constexpr SCommand COMMANDS[] = {
    {{"create", "", ""}, AddOnly<AddCreate>},       {{"describe", "", ""}, AddOnly<AddDescribe>},
    {{"display", "", ""}, AddOnly<AddDisplay>},     {{"progress", "", ""}, AddOnly<AddProgress>},
    {{"record", "", "", true}, AddOnly<AddRecord>}, {{"replay", "", "", true}, AddOnly<AddReplay>},
    {{"run", "", "", true}, AddOnly<AddRun>},       {{"snapshot", "", ""}, AddOnly<AddSnapshot>},
    {{"status", "", ""}, AddOnly<AddStatus>},       {{"wait", "", ""}, AddOnly<AddWait>},
    {WATCH_TEXT, AddOnly<Viewer::AddWatch>},        {PREVIEW_TEXT, AddOnly<Viewer::AddPreview>},
};
}

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    g_strChosen.clear();
    SCommandLine oLine("tavrin-board", puiData, uiSize);
    const int    iStatus = RunProgram(oLine.GetCount(), oLine.apszArguments.data(), COMMANDS);
    Must(iStatus == 0 || iStatus == 2);  // 1 would be that a command was tried and failed
    if (g_strChosen.empty()) return 0;   // a help, or a refusal
    Must(iStatus == 0 && oLine.asArguments[1] == g_strChosen);
    const auto iCommand = std::ranges::find(COMMANDS, g_strChosen, [](const SCommand& ro) { return ro.oText.pszName; });
    Must(iCommand->oText.bPassesOn || std::ranges::find(oLine.asArguments, "--") == oLine.asArguments.end());
    return 0;
}
