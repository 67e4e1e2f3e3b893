// SIGTERM and SIGINT end a run in order.
#ifndef STOP_SIGNAL_H
#define STOP_SIGNAL_H

#include <atomic>
#include <csignal>

#include "QelTypes.h"

// Set by the first SIGTERM or SIGINT, and never cleared.
extern std::atomic<KBOOL32> g_bStopSignal;
static_assert(std::atomic<KBOOL32>::is_always_lock_free, "a signal handler writes it");

// Installs SignalHandler for SIGTERM and SIGINT; prints a line for each that fails. Also makes standard output
// line-buffered: the handler writes past the stream, so no earlier line may still wait in the stream's buffer.
void SetupSignalHandler();

// Sets g_bStopSignal after SIGTERM or SIGINT, then prints the signal's number.
void SignalHandler(int iSignal, siginfo_t* oSigInfo, void* hContext);

#endif
