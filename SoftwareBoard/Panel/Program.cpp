#include "Program.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <new>
#include <optional>

#include "BoardError.h"
#include "Installation.h"
#include "Printable.h"
#include "Signals.h"
#include "Usage.h"

namespace SoftwareBoard::Panel
{
namespace
{
constexpr char FOOTER[] =
    "The board lives in the folder $TAVRIN_BOARD, otherwise for root in /run/tavrin-board where that is,\n"
    "otherwise in tavrin-board in $XDG_RUNTIME_DIR, otherwise in /tmp/tavrin-board-UID. A run makes a board\n"
    "of one device and two outputs where there is none; status, snapshot, watch and wait only look.";

using Commands = std::span<const SCommand>;

int Fail(const std::string& strWhy, int iStatus = 1)
{
    std::fprintf(stderr, "tavrin-board: %s\n", MakePrintable(strWhy).c_str());
    return iStatus;
}

int RefuseUsage(const std::string& strWhy)
{
    return Fail(strWhy + "; --help tells the usage", 2);
}

int CheckOutput(bool bWritten)
{
    return bWritten ? 0 : Fail("standard output: cannot be written");
}

// Opens something harmless in place of standard streams that are closed. Otherwise a file of the board could get one of the
// numbers 0 to 2, and what is printed would go there. Programs that this process executes find these streams closed.
void OccupyClosedStreams()
{
    int iFd = -1;
    do
        iFd = open("/", O_PATH | O_CLOEXEC);  // can be neither read nor written
    while (iFd >= 0 && iFd <= STDERR_FILENO);
    if (iFd >= 0)
        close(iFd);
}

const SCommand* FindCommand(Commands oCommands, std::string_view svName)
{
    const auto i =
        std::find_if(oCommands.begin(), oCommands.end(), [&](const SCommand& ro) { return ro.oText.pszName == svName; });
    return i != oCommands.end() ? &*i : nullptr;
}

int RefuseCommand(Commands oCommands, const std::string& strWord)
{
    std::vector<std::string> astrNames;
    for (const SCommand& roCommand : oCommands)
        astrNames.emplace_back(roCommand.oText.pszName);
    return RefuseUsage("there is no command '" + strWord + "'" + SuggestNearest(strWord, astrNames, true));
}

// Replaces this process by the command's program, with the same arguments. Blocked signals stay blocked.
[[noreturn]] void RunInPlace(const SCommand& roCommand, char* argv[])
{
    execvp(FindProgram(roCommand.pszProgram).c_str(), argv);
    throw BoardError(std::string(roCommand.oText.pszName) + " needs the program " + roCommand.pszProgram + ": " +
                     std::generic_category().message(errno) + "; is it installed?");
}

// Adds the command to the parser. When the parser finds its name, rfAction becomes its action.
void AddCommand(CLI::App& roProgram, const SCommand& roCommand, const PassedOn& roPassedOn, bool bMark, Action& rfAction)
{
    CLI::App* const poParser = roProgram.add_subcommand(roCommand.oText.pszName, roCommand.oText.pszHelp);
    if (roCommand.pfnAdd == nullptr)
        return;
    const Action      fAction  = roCommand.pfnAdd(*poParser, roPassedOn);
    const std::string strNotes = poParser->get_footer();
    const bool        bSpare   = bMark && !roCommand.oText.bPassesOn;
    poParser->footer(strNotes + (strNotes.empty() ? "" : "\n\n") + "Example:\n  " + roCommand.oText.pszExample);
    poParser->callback([&rfAction, fAction, bSpare] {
        if (bSpare)
            throw CLI::ParseError("nothing is to follow \"--\" here", CLI::ExitCodes::ExtrasError);
        rfAction = fAction;
    });
}

int ParseAndRun(int argc, char* argv[], Commands oCommands)
{
    const SCommand* const  poCommand = argc > 1 ? FindCommand(oCommands, argv[1]) : nullptr;
    std::optional<Signals> ooSignals;
    if (poCommand != nullptr && poCommand->oText.bEndsBySignal)
        ooSignals.emplace();  // a signal that comes early waits for the command
    if (poCommand != nullptr && poCommand->pszProgram != nullptr)
        RunInPlace(*poCommand, argv);

    char** const ppszEnd  = argv + argc;
    char** const ppszMark = std::find_if(argv, ppszEnd, [](const char* psz) { return std::string_view(psz) == "--"; });
    const bool   bMark    = ppszMark != ppszEnd;
    PassedOn     oPassedOn(std::min(ppszMark + 1, ppszEnd), ppszEnd);
    oPassedOn.push_back(nullptr);

    CLI::App oProgram("The front panel of a board in software", "tavrin-board");
    oProgram.require_subcommand(1);
    oProgram.footer(FOOTER);
    oProgram.set_version_flag("--version", "tavrin-board " PANEL_VERSION, "Print the version and exit");
    Action fAction;
    for (const SCommand& roCommand : oCommands)
        AddCommand(oProgram, roCommand, oPassedOn, bMark, fAction);

    if (poCommand == nullptr && ppszMark - argv > 1 && argv[1][0] != '-')
        return RefuseCommand(oCommands, argv[1]);
    try
    {
        oProgram.parse(static_cast<int>(ppszMark - argv), argv);
    }
    catch (const CLI::ParseError& roError)
    {
        const bool bMarkMissing = poCommand != nullptr && poCommand->oText.bPassesOn && !bMark;
        if (roError.get_exit_code() != 0)
            return RefuseUsage(ExplainRefusal(oProgram, roError, bMarkMissing ? poCommand->oText.pszExample : nullptr));
        oProgram.exit(roError);
        return CheckOutput(static_cast<bool>(std::cout.flush()));
    }

    fAction();
    return CheckOutput(std::fflush(stdout) == 0 && !std::ferror(stdout));
}
}

int RunProgram(int argc, char* argv[], Commands oCommands)
try
{
    OccupyClosedStreams();
    Defuse(SIGXFSZ);  // so that writing beyond the file size limit only fails
    return ParseAndRun(argc, argv, oCommands);
}
catch (const EndedBySignal& roEnd)
{
    std::fflush(stdout);
    EndProcessBy(roEnd.iSignal);
}
catch (const EndedWithStatus& roEnd)
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
}
