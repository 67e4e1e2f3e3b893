#include "Checks.h"

#include <algorithm>

#include "Tries.h"

namespace BoardCheck
{
namespace
{
// In the order in which they are tried. All of a scope stand together.
// clang-format off
constexpr SCheck CHECKS[] = {
    {EScope::Library,  "library",           "libTavrin.so.1 is found and opened",                            TryFile},
    {EScope::Library,  "operations",        "it exports the sixteen operations",                             TryOperations},
    {EScope::Library,  "load",              "it can be loaded and unloaded",                                 TryLoad},
    {EScope::Library,  "devices",           "it has a device, and the one that was asked for",               TryDevices},
    {EScope::Device,   "device",            "the device has a handle",                                       TryDevice},
    {EScope::Device,   "fpgas",             "every FPGA is described",                                       TryFpgas},
    {EScope::Device,   "firmware",          "QelProgressBarDisplay would drive the board",                   TryFirmware},
    {EScope::Device,   "outputs",           "the outputs are counted",                                       TryOutputs},
    {EScope::Device,   "registers",         "registers 6908 and 7932 are read",                              TryRegisters},
    {EScope::Draw,     "buffer",            "a buffer of format 52 is made and destroyed",                   TryBuffer},
    {EScope::Draw,     "planes",            "the size, the pitch and the number of planes fit the timings",  TryPlanes},
    {EScope::Draw,     "pitch",             "the pitch is larger than the width",                            TryPitch},
    {EScope::Draw,     "rows",              "every byte of every row is read back as written",               TryRows},
    {EScope::Draw,     "second-access",     "a second access shows what the first drew",                     TrySecondAccess},
    {EScope::Draw,     "enable",            "every output shows a buffer",                                   TryEnable},
    {EScope::Draw,     "release",           "the handle of an enabled output is released",                   TryRelease},
    {EScope::Draw,     "drawing",           "a shown buffer can be drawn on after the release",              TryDrawing},
    {EScope::Draw,     "busy",              "a second process is told that the output is busy",              HoldOutputs, TryBusy},
    {EScope::Draw,     "disable",           "every output is disabled",                                      TryDisable},
    {EScope::Draw,     "enable-again",      "a disabled output can be enabled again",                        TryEnableAgain},
    {EScope::Draw,     "running-register",  "register 6908 holds what is written",                           TryRunningRegister},
    {EScope::Draw,     "progress-register", "register 7932 is read without side effect",                     TryProgressRegister},
    {EScope::Draw,     "card",              "the outputs show a test card",                                  TryCard},
};
// clang-format on
}

std::span<const SCheck> GetChecks(EScope eScope)
{
    const auto iCount = std::ranges::count(CHECKS, eScope, &SCheck::eScope);
    return {std::ranges::find(CHECKS, eScope, &SCheck::eScope), static_cast<size_t>(iCount)};
}
}
