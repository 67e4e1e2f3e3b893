// A world for tests of the front panel, which is called as a shell calls it.
#ifndef PANEL_WORLD_H
#define PANEL_WORLD_H

#include <poll.h>
#include <pty.h>

#include "BoardWorld.h"

namespace fs = std::filesystem;

using Colour           = std::array<KUINT8, 3>;
constexpr Colour GREEN = {0, 200, 0}, BLUE = {0, 0, 110};
constexpr int    LONGEST_SEC = 20;  // after which what is waited for will not come

// Waits until it is so. Returns false if that takes too long, and at once after a failure.
inline bool Becomes(const std::function<bool()>& fIsSo)
{
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(LONGEST_SEC);
    for (; !fIsSo(); usleep(500))
        if (testing::Test::HasFailure() || std::chrono::steady_clock::now() > oEnd) return false;
    return true;
}

struct PanelWorld : BoardWorld
{
#ifdef QEL_FOREIGN
    void SetUp() override
    {
        static const int s_iWait = std::system(BOARD_PANEL " --version >/dev/null 2>&1");
        if (WEXITSTATUS(s_iWait) == 126) GTEST_SKIP() << "this machine cannot run the built programs";
    }
#endif
    // What it prints: results on standard output, errors on standard error. 128 and more is a signal, as shells count.
    static void Expect(const std::string& strArguments, int iStatus, const std::string& strContained)
    {
        const char* const pszWhich = iStatus == 0 ? " 2>/dev/null" : " 2>&1 >/dev/null";
        std::FILE* const  poPipe   = popen((BOARD_PANEL " " + strArguments + pszWhich).c_str(), "re");
        std::string       strText(8192, '\0');
        strText.resize(std::fread(strText.data(), 1, strText.size(), poPipe));
        const int iWait = pclose(poPipe);
        EXPECT_EQ(WIFEXITED(iWait) ? WEXITSTATUS(iWait) : 128 + WTERMSIG(iWait), iStatus) << strArguments << "\n" << strText;
        EXPECT_NE(strText.find(strContained), std::string::npos) << strArguments << " says:\n" << strText;
    }
    std::string At(const char* pszFile) const { return (m_oFolder / pszFile).string(); }
};

// A command of the panel that goes on, and what it prints, to a pipe or to a terminal of its own.
constexpr int PIPE_BYTES = 65536;  // that it holds

struct Live
{
    explicit Live(const std::string& strArguments, bool bTerminal = false, winsize oSize = {24, 80, 0, 0},
                  const char* pszTerm = "xterm-256color", const std::string& strBefore = "")
    {
        EXPECT_EQ(bTerminal ? openpty(&aiFds[0], &aiFds[1], nullptr, nullptr, &oSize) : pipe(aiFds), 0);
        EXPECT_TRUE(bTerminal || fcntl(aiFds[1], F_SETPIPE_SZ, PIPE_BYTES) == PIPE_BYTES);
        tcgetattr(aiFds[1], &oMode);
        ooProcess.emplace([&] {
            setsid();
            ioctl(aiFds[1], TIOCSCTTY, 0);
            for (const int iFd : {0, 1, 2}) dup2(aiFds[1], bTerminal || iFd == 1 ? iFd : 99);
            close(aiFds[0]);
            close(aiFds[1]);
            setenv("TERM", pszTerm, 1);
            unsetenv("COLORTERM");
            execl("/bin/sh", "sh", "-c", (strBefore + "exec " BOARD_PANEL " " + strArguments).c_str(), nullptr);
        });
        if (!bTerminal) close(aiFds[1]);
    }
    ~Live() { close(aiFds[0]); }
    // Reads on until that is printed, and forgets what came before; not after a failure.
    void Await(const std::string& strExpected)
    {
        char       acRead[4096];
        pollfd     oFile = {.fd = aiFds[0], .events = POLLIN};
        const auto oEnd  = std::chrono::steady_clock::now() + std::chrono::seconds(LONGEST_SEC);
        while (!testing::Test::HasFailure() && strText.find(strExpected) == std::string::npos)
        {
            const bool    bTime = std::chrono::steady_clock::now() < oEnd && poll(&oFile, 1, LONGEST_SEC * 1000) == 1;
            const ssize_t iRead = bTime ? read(aiFds[0], acRead, sizeof(acRead)) : 0;
            ASSERT_GT(iRead, 0) << "no '" << strExpected << "' after:\n" << strText;
            strText.append(acRead, static_cast<size_t>(iRead));
        }
        EXPECT_TRUE(isatty(aiFds[0]) == 1 || strText.find('\x1b') == std::string::npos) << strText;
        strText.erase(0, strText.find(strExpected) + strExpected.size());
    }
    int                    aiFds[2] = {};
    termios                oMode    = {};
    std::string            strText;
    std::optional<Process> ooProcess;
};

// A process that shows a green picture on both outputs. Resumed, it draws the middle half blue. Resumed again, it ends.
struct Drawing : Process
{
    Drawing(KUINT32 uiWidth, KUINT32 uiHeight)
        : Process([=] {
              TestClient           o;
              tagTBuffer_PlaneInfo oInfo = {};
              o.MakeBuffer(uiWidth, uiHeight);
              EXPECT_EQ(o.TBuffer_GetPlaneInfo(o.hBuffer, &oInfo), TStatus_OK);
              KUINT32* const pui   = reinterpret_cast<KUINT32*>(o.Access());
              const auto     fFill = [&](KUINT32 uiEdge, Colour c) {  // in quarters of the sides
                  const KUINT32 uiLeft = uiWidth * uiEdge / 4, uiRight = uiWidth * (4 - uiEdge) / 4;
                  for (KUINT32 uiY = uiHeight * uiEdge / 4; uiY < uiHeight * (4 - uiEdge) / 4; ++uiY)
                      std::fill_n(pui + uiY * oInfo.auiPitch[0] + uiLeft, uiRight - uiLeft,
                                      c[0] | KUINT32{c[1]} << 8 | KUINT32{c[2]} << 16);
              };
              fFill(0, GREEN);
              for (KUINT32 uiOutput : {0u, 1u}) EXPECT_EQ(o.Show(o.Output(uiOutput), uiWidth, uiHeight), TStatus_OK);
              Process::Pause();
              fFill(1, BLUE);
              Process::Pause();
          })
    {
        Await();
    }
};

#endif
