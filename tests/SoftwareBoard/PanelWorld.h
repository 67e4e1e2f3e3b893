// A world for tests of the front panel, which is called as a shell calls it.
#ifndef PANEL_WORLD_H
#define PANEL_WORLD_H

#include "BoardWorld.h"

namespace fs = std::filesystem;

struct PanelWorld : BoardWorld
{
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

#endif
