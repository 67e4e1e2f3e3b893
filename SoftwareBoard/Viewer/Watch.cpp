#include "Watch.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "BoardError.h"
#include "Options.h"
#include "Viewer.h"

namespace SoftwareBoard::Viewer
{
namespace
{
bool IsTerminal()
{
    const char* const pszTerm = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && pszTerm != nullptr && *pszTerm != '\0' && std::string_view(pszTerm) != "dumb";
}

void Watch(KUINT32 uiDevice, bool bWindow)
{
    const bool   bTerminal = !bWindow && IsTerminal();
    WatchedBoard oBoard(uiDevice, bWindow || bTerminal);
    if (bTerminal)
        return WatchInTerminal(oBoard);
    if (bWindow)
        return WatchInWindow(oBoard);
    WatchInLines(oBoard);
}
}

Panel::Action AddWatch(CLI::App& roCommand, const Panel::PassedOn&)
{
    struct SOptions
    {
        KUINT32 uiDevice = 0;
        bool    bWindow  = false;
    };
    const auto poOptions = std::make_shared<SOptions>();
    roCommand.add_flag(
        "--window", poOptions->bWindow,
        "Show the outputs in a window; its button, Escape or q close it. Otherwise\nshow them in the terminal, until q or "
        "Ctrl-C. Without a terminal, print one\nline for each change");
    Panel::AddDevice(roCommand, poOptions->uiDevice);
    return [poOptions] { Watch(poOptions->uiDevice, poOptions->bWindow); };
}
}
