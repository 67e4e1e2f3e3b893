// What the tests of this room share: standard output caught as text, and calls of the C library made to fail.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "OsServices.h"

// What fnWrite puts on standard output.
std::string OutputOf(const std::function<void()>& fnWrite);

// Makes the next call of that name fail, once, with iError where the call reports one.
void FailNext(const char* pszCall, int iError);
bool HasFailed();  // the call came, and failed

// Waits for a condition of another thread; ctest's time limit ends one that never comes.
void Await(const std::function<bool()>& fnIsTrue);

// Waits on conditions begun so far, counted with the mutex held: whoever locks it next finds the thread blocked.
extern std::atomic<int> g_iWaitsBegun;

// So many of the next timed waits end at once without a reason; their deadlines must all be that of the first.
extern std::atomic<int> g_iSpuriousWakeUps;
