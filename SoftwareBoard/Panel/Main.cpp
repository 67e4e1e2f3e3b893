// tavrin-board: the front panel of a board in software.
#include "Commands.h"

using namespace SoftwareBoard::Panel;

namespace
{
constexpr char VIEWER[] = "tavrin-board-viewer";

constexpr SCommand COMMANDS[] = {
    {{"create", "Make a new board in the folder, in place of the one there",
      "tavrin-board create --outputs 4 --fpga 5:2.13.45"},
     AddCreate},
    {{"status", "Show devices, FPGAs, the progress registers and what the outputs show", "tavrin-board status --json"},
     AddStatus},
    {{"progress", "Set the update progress that the board reports, once or as an update would",
      "tavrin-board progress 40\n  tavrin-board progress --ramp 30\n  updater | tavrin-board progress -"},
     AddProgress},
    {{.pszName    = "run",
      .pszHelp    = "Run a command with this board's library: tavrin-board run -- COMMAND...",
      .pszExample = "tavrin-board run -- QelProgressBarDisplay -p 100 300 900 340",
      .bPassesOn  = true},
     AddRun},
    {{"snapshot", "Write what an output shows now to a PNG file", "tavrin-board snapshot 0 output0.png"}, AddSnapshot},
    {{"display", "Show the outputs on the displays of this machine",
      "tavrin-board display --list\n  tavrin-board display --connector HDMI-A-1"},
     AddDisplay},
    {{"wait", "Wait until a run shows its picture, has ended, or has come so far",
      "tavrin-board wait --shown --timeout 10 && tavrin-board progress 40"},
     AddWait},
    {{.pszName    = "record",
      .pszHelp    = "Run a command and record its calls: tavrin-board record [OPTIONS] FILE -- COMMAND...",
      .pszExample = "tavrin-board record run.json -- QelProgressBarDisplay -p 100 300 900 340",
      .bPassesOn  = true},
     AddRecord},
    {{.pszName    = "replay",
      .pszHelp    = "Run a command on the board of a record: tavrin-board replay [OPTIONS] FILE -- COMMAND...",
      .pszExample = "tavrin-board replay --fast run.json -- QelProgressBarDisplay -p 100 300 900 340",
      .bPassesOn  = true},
     AddReplay},
    {{"describe", "Tell a record of a run in words", "tavrin-board describe run.json"}, AddDescribe},
    {WATCH_TEXT, nullptr, VIEWER},
    {PREVIEW_TEXT, nullptr, VIEWER},
};
}

int main(int argc, char* argv[])
{
    return RunProgram(argc, argv, COMMANDS);
}
