#include <memory>

#include "Commands.h"
#include "DisplayServer.h"
#include "Options.h"
#include "Signals.h"

namespace SoftwareBoard::Panel
{
Action AddDisplay(CLI::App& roCommand, const PassedOn&)
{
    struct SOptions
    {
        Display::SDisplayPlan oPlan;
        bool                  bList = false;
    };
    const auto poOptions = std::make_shared<SOptions>();
    roCommand.add_option("--card", poOptions->oPlan.strCard,
                         "The card, as /dev/dri/card0 (default: the first with mode setting)");
    roCommand
        .add_option("--connector", poOptions->oPlan.astrConnectors,
                    "The connector of output 0, then of output 1, and so on\n(default: those that are connected, in order)")
        ->type_name("NAME")
        ->expected(1)
        ->take_all();
    roCommand.add_flag("--legacy", poOptions->oPlan.bLegacy,
                       "Set modes with the older kernel calls, even if the card has newer ones");
    roCommand.add_flag("--list", poOptions->bList,
                       "Show the cards, their connectors and modes, and what each would show, then\nend");
    AddDevice(roCommand, poOptions->oPlan.uiDevice);
    roCommand.footer("Shows the outputs until a signal ends it, and leaves the card as it was found.\n"
                     "--list prints each mode as the option -v of the tool. It marks the mode that the\n"
                     "display prefers and the format that is used with *.");

    return [poOptions] {
        if (poOptions->bList)
            Display::ListDisplays(poOptions->oPlan);
        else
        {
            const Signals oSignals;
            Display::DisplayServer(poOptions->oPlan).ServeUntilReadable(oSignals.GetDescriptor());
            while (oSignals.Wait(std::chrono::milliseconds(0)) != 0)
            {}  // takes the pending signals, which would end the process when they are unblocked
        }
    };
}
}
