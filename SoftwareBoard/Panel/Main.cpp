// tavrin-board: the front panel of a board in software. Exit status 0; 1 it could not; 2 usage.
#include <fcntl.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <new>

#include "Panel.h"
#include "Printable.h"
#include "Signals.h"
#include "Usage.h"

namespace
{
struct SCommand
{
    const char* pszName;
    const char* pszHelp;
    Panel::Action (*pfAdd)(CLI::App& roCommand, const Panel::PassedOn& roPassedOn);
    bool        bPassesOn;      // what stands behind "--"
    bool        bEndsBySignal;  // in its good way, so that one that comes early must wait for it
    const char* pszExample;
};

// clang-format off
constexpr SCommand aoCommands[] = {
    {"create", "Make a new board in the folder, in place of the one there", Panel::AddCreate, false, false,
     "tavrin-board create --outputs 4 --fpga 5:2.13.45"},
    {"status", "Show devices, FPGAs, the progress registers and what the outputs show", Panel::AddStatus, false, false,
     "tavrin-board status --json"},
    {"progress", "Set the update progress that the board reports, once or as an update would", Panel::AddProgress, false, false,
     "tavrin-board progress 40\n  tavrin-board progress --ramp 30"},
    {"run", "Run a command with this board's library: tavrin-board run -- COMMAND...", Panel::AddRun, true, false,
     "tavrin-board run -- QelProgressBarDisplay -p 100 300 900 340"},
    {"snapshot", "Write what an output shows now to a PNG file", Panel::AddSnapshot, false, false,
     "tavrin-board snapshot 0 output0.png"},
#ifdef TAVRIN_BOARD_DISPLAY
    {"display", "Show the outputs on the displays of this machine", Panel::AddDisplay, false, false,
     "tavrin-board display --list\n  tavrin-board display --connector HDMI-A-1"},
#endif
    {"watch", "Show the outputs live: in the terminal, in a window, or as plain lines", Panel::AddWatch, false, true,
     "tavrin-board watch\n  tavrin-board watch --window"},
    {"preview", "Show what the tool would show: tavrin-board preview FILE.png [OPTIONS] -- ARGUMENTS",
     Panel::AddPreview, true, false,
     "tavrin-board preview sheet.png --at 10 --at 90 -- -i background.png -p 192 560 832 584"},
};
// clang-format on

const SCommand* FindCommand(std::string_view svName)
{
    const SCommand* const poFound =
        std::find_if(std::begin(aoCommands), std::end(aoCommands), [&](const SCommand& ro) { return ro.pszName == svName; });
    return poFound != std::end(aoCommands) ? poFound : nullptr;
}

constexpr char pszFooter[] =
    "The board lives in the folder $TAVRIN_BOARD, otherwise in tavrin-board in $XDG_RUNTIME_DIR,\n"
    "otherwise in /tmp/tavrin-board-UID. A run makes a board of one device and two outputs where there is\n"
    "none; status, snapshot and watch only look.";

int Fail(const std::string& strWhy, int iStatus = 1)
{
    std::fprintf(stderr, "tavrin-board: %s\n", SoftwareBoard::MakePrintable(strWhy).c_str());
    return iStatus;
}

int RefuseUsage(const std::string& strWhy)
{
    return Fail(strWhy + "; --help tells the usage", 2);
}

// Of the numbers 0 to 2 none is left for a file of the board, which would then take what is printed. What this process
// executes finds closed what was closed.
void OccupyClosedStreams()
{
    int iFd = -1;
    do
        iFd = open("/", O_PATH | O_CLOEXEC);  // refuses to be read or written
    while (iFd >= 0 && iFd <= STDERR_FILENO);
    if (iFd >= 0)
        close(iFd);
}
}

int main(int argc, char* argv[])
try
{
    OccupyClosedStreams();
    Panel::Defuse(SIGXFSZ);  // a file at its size limit is a failed write

    const SCommand* const         poCommand = argc > 1 ? FindCommand(argv[1]) : nullptr;
    std::optional<Panel::Signals> ooSignals;
    if (poCommand != nullptr && poCommand->bEndsBySignal)
        ooSignals.emplace();

    // What follows "--" is another program's command line and never passes through the parser.
    char** const    ppszEnd  = argv + argc;
    char** const    ppszMark = std::find_if(argv, ppszEnd, [](const char* psz) { return std::string_view(psz) == "--"; });
    Panel::PassedOn oPassedOn(std::min(ppszMark + 1, ppszEnd), ppszEnd);
    oPassedOn.push_back(nullptr);

    CLI::App oPanel("The front panel of a board in software", "tavrin-board");
    oPanel.require_subcommand(1);
    oPanel.footer(pszFooter);
    oPanel.set_version_flag("--version", "tavrin-board " PANEL_VERSION, "Print the version and exit");

    Panel::Action fAction;
    for (const SCommand& roCommand : aoCommands)
    {
        CLI::App* const     poParser    = oPanel.add_subcommand(roCommand.pszName, roCommand.pszHelp);
        const Panel::Action fThisAction = roCommand.pfAdd(*poParser, oPassedOn);
        const bool          bSpare      = ppszMark != ppszEnd && !roCommand.bPassesOn;
        const std::string   strNotes    = poParser->get_footer();
        poParser->footer(strNotes + (strNotes.empty() ? "" : "\n\n") + "Example:\n  " + roCommand.pszExample);
        poParser->callback([&fAction, fThisAction, bSpare] {
            if (bSpare)
                throw CLI::ParseError("nothing is to follow \"--\" here", CLI::ExitCodes::ExtrasError);
            fAction = fThisAction;
        });
    }
    if (poCommand == nullptr && ppszMark - argv > 1 && argv[1][0] != '-')
    {
        const std::string        strWord = argv[1];
        std::vector<std::string> astrNames;
        for (const SCommand& roCommand : aoCommands)
            astrNames.emplace_back(roCommand.pszName);
        return RefuseUsage("there is no command '" + strWord + "'" + Panel::SuggestNearest(strWord, astrNames, true));
    }
    const bool bMarkMissing = poCommand != nullptr && poCommand->bPassesOn && ppszMark == ppszEnd;
    try
    {
        oPanel.parse(static_cast<int>(ppszMark - argv), argv);
    }
    catch (const CLI::ParseError& roError)
    {
        if (roError.get_exit_code() != 0)
            return RefuseUsage(Panel::ExplainRefusal(oPanel, roError, bMarkMissing ? poCommand->pszExample : nullptr));
        oPanel.exit(roError);
        return std::cout.flush() ? 0 : Fail("standard output: cannot be written");
    }

    fAction();
    return std::fflush(stdout) == 0 ? 0 : Fail("standard output: cannot be written");
}
catch (const Panel::EndedBySignal& roEnd)
{
    std::fflush(stdout);
    Panel::EndProcessBy(roEnd.iSignal);
}
catch (const Panel::EndedWithStatus& roEnd)
{
    return roEnd.iStatus;
}
catch (const std::bad_alloc&)
{
    std::fputs("tavrin-board: not enough memory\n", stderr);
    return 1;
}
catch (const std::exception& roError)
{
    return Fail(roError.what());
}
