// What the tests of this folder share: calls of the C library made to fail, and texts cut to a buffer.
#ifndef SUPPORT_H
#define SUPPORT_H

#include <atomic>
#include <future>

#include "OsServices.h"
#include "TestSupport.h"

constexpr KUINT32 NO_LIMIT         = 0xFFFFFFFF;
const std::string INVALID_DEADLINE = " returned # INVALID\nTimeOut occurs Req timespec.tv_sec=now,timespec.tv_nsec=#, Now "
                                     "timespec.tv_sec=now,timespec.tv_nsec=#\n";  // after the call's name, without numbers

inline std::atomic<int> g_iWaitsBegun{0};       // on conditions, counted with the mutex held, so all before the next lock
inline std::atomic<int> g_iSpuriousWakeUps{0};  // so many of the next timed waits end at once, without a reason

inline std::function<void()> g_fInsteadOfWait;  // the next timed wait runs it, with the mutex free, and ends

// The next call of that name fails, once, with iError where it reports one; null: none.
inline std::atomic<const char*> g_pszFailing{nullptr};
inline int                      g_iError = 0;
inline void                     FailNext(const char* pszCall, int iError = 0) { g_iError = iError, g_pszFailing = pszCall; }
inline bool                     HasFailed() { return g_pszFailing == nullptr; }
bool                            Fails(const char* pszCall);  // asked by the call itself

std::pair<int, long> Held();  // what lives of handles, mutexes and conditions, and open files; alike before and after

// Expects each of the works to be FALSE when one of the calls fails in it, once, and to leave nothing behind.
void ExpectFailures(const std::vector<const char*>& rapszCalls, const std::vector<KBOOL32 (*)()>& rapfnWorks);

// Expects fnWrite(buffer, size) to leave the text cut to each size, its terminator included, and what is behind untouched.
template <typename FnWrite> void ExpectCut(const std::string& rsText, FnWrite fnWrite)
{
    for (KUINT32 uiSize = 0; uiSize < rsText.size() + 2; ++uiSize)
    {
        std::string       sBuffer(rsText.size() + 3, '#');
        const std::string sCut = uiSize > 0 ? rsText.substr(0, uiSize - 1) + '\0' : "";
        fnWrite(sBuffer.data(), uiSize);
        EXPECT_EQ(sBuffer, sCut + std::string(sBuffer.size() - sCut.size(), '#')) << uiSize;
    }
}

// The text with every number in it replaced by '#'.
std::string WithoutNumbers(const std::string& rsText);

#endif
