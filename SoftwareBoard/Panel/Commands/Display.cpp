#include <cstdio>
#include <memory>
#include <utility>

#include "Commands.h"
#include "DisplayServer.h"
#include "Options.h"
#include "Printable.h"
#include "Signals.h"

namespace SoftwareBoard::Panel
{
namespace
{
// Serves until a signal comes, and tries again while another program holds the card. Says who holds it once.
void ServeOrWait(const Display::SDisplayPlan& roPlan, bool bWait, const Signals& roSignals)
{
    constexpr std::chrono::milliseconds oBetweenTries(500);
    std::string                         strSaid;
    do
    {
        try
        {
            return Display::DisplayServer(roPlan).ServeUntilReadable(roSignals.GetDescriptor());
        }
        catch (const Display::CardHeldError& roHeld)
        {
            if (!bWait)
                throw;
            if (std::exchange(strSaid, roHeld.what()) != roHeld.what())
                std::fprintf(stderr, "tavrin-board: %s; waiting for it\n", MakePrintable(strSaid).c_str());
        }
    } while (roSignals.Wait(oBetweenTries) == 0);
}

void Serve(const Display::SDisplayPlan& roPlan, bool bWait)
{
    const Signals oSignals;
    ServeOrWait(roPlan, bWait, oSignals);
    while (oSignals.Wait(std::chrono::milliseconds(0)) != 0)
    {}  // takes the pending signals, which would end the process when they are unblocked
}
}

Action AddDisplay(CLI::App& roCommand, const PassedOn&)
{
    struct SOptions
    {
        Display::SDisplayPlan oPlan;
        bool                  bList = false;
        bool                  bWait = false;
    };
    const auto poOptions = std::make_shared<SOptions>();
    roCommand.add_option("--card", poOptions->oPlan.strCard,
                         "The card, as /dev/dri/card0 (default: the first with a display)");
    CLI::Option* const poConnector = roCommand.add_option(
        "--connector", poOptions->oPlan.astrConnectors,
        "The connector of output 0, then of output 1, and so on\n(default: those that are connected, in order)");
    LetRepeat(poConnector->type_name("NAME"));
    roCommand.add_flag("--legacy", poOptions->oPlan.bLegacy,
                       "Set modes with the older kernel calls, even if the card has newer ones");
    roCommand.add_flag("--every-output", poOptions->oPlan.bEveryOutput,
                       "Refuse an output that has no display. Without this it stays dark, and only\nno display at all is a "
                       "failure");
    roCommand.add_flag("--wait", poOptions->bWait, "Wait for the card while another program holds it");
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
            Serve(poOptions->oPlan, poOptions->bWait);
    };
}
}
