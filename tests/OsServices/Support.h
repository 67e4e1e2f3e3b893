// What the tests of this room share: standard output caught as text, and calls of the C library made to fail.
#pragma once
#include <atomic>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <functional>
#include <future>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "OsServices.h"

constexpr KUINT32 NO_LIMIT = 0xFFFFFFFF;
const std::string INVALID_DEADLINE = " returned # INVALID\nTimeOut occurs Req timespec.tv_sec=#,timespec.tv_nsec=#, Now "
                                     "timespec.tv_sec=#,timespec.tv_nsec=#\n";  // after the call's name, without numbers

// What fnWrite puts on standard output, and a text with every number in it replaced by '#'.
std::string OutputOf(const std::function<void()>& fnWrite);
std::string WithoutNumbers(const std::string& rsText);

// Makes the next call of that name fail, once, with iError where the call reports one; null: none.
void FailNext(const char* pszCall, int iError = 0);
bool Fails(const char* pszCall);  // asked by the call
bool HasFailed();                 // the call came

// Blocks of handles that live, and files that the process has open; to be alike before and after.
std::pair<int, long> Held();

// A sparse file of 6 GiB that is opened for /dev/mem while it lives; without one nothing is.
struct SMemoryFile
{
    SMemoryFile();
    ~SMemoryFile();
    int m_iFile;
};
extern std::string g_sMemoryFile;

extern int              g_iLibraryStarts;    // of the hardware-access library
extern std::atomic<int> g_iWaitsBegun;       // on conditions, counted with the mutex held: whoever locks it next finds them
extern std::atomic<int> g_iSpuriousWakeUps;  // so many of the next timed waits end at once, without a reason
