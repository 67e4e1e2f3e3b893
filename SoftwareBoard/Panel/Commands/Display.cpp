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
    roCommand.add_option("--card", poOptions->oPlan.strCard, "The card, as /dev/dri/card0 (default: the first that can)");
    roCommand
        .add_option("--connector", poOptions->oPlan.astrConnectors,
                    "The connector of output 0, then of output 1, and so on\n(default: those that are connected, in order)")
        ->type_name("NAME")
        ->expected(1)
        ->take_all();
    roCommand.add_flag("--legacy", poOptions->oPlan.bLegacy, "Set modes by the older calls also where the card has newer");
    roCommand.add_flag("--list", poOptions->bList, "Show cards, connectors and what each would show, and end");
    AddDevice(roCommand, poOptions->oPlan.uiDevice);
    roCommand.footer("Shows the outputs until a signal ends it, and leaves the card as it was found.\n"
                     "What --list marks with * is the format that is used.");

    return [poOptions] {
        if (poOptions->bList)
            Display::ListDisplays(poOptions->oPlan);
        else
        {
            const Signals oSignals;
            Display::DisplayServer(poOptions->oPlan).ServeUntilReadable(oSignals.GetDescriptor());
            while (oSignals.Wait(std::chrono::milliseconds(0)) != 0)
            {}  // they have ended it, and are not to end the process as well
        }
    };
}
}
