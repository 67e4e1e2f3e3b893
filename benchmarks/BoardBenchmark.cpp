// What the software board costs: a read of a register beside the calls that it took before, and the calls of the system that
// set up a run.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "BenchmarkTable.h"
#include "Board.h"
#include "BoardOfItsOwn.h"

namespace
{
using namespace SoftwareBoard;

// Counts the calls that a run makes after it first looks for its board and before it first waits. One second of enable time
// ends the run.
double CountCallsOfSetUp(KUINT32 uiDevices, KUINT32 uiOutputs)
{
    SBoardPlan oPlan    = DefaultPlan();
    oPlan.uiDeviceCount = uiDevices;
    oPlan.uiOutputCount = uiOutputs;
    Board::Create(oPlan);

    const std::string strFolder = BoardFolder::DefaultPath();
    const std::string strCalls  = strFolder + "/calls";
    const std::string strTool =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "bin/QelProgressBarDisplay";
    const int iStatus = std::system(("strace -f -o " + strCalls + " " + strTool + " -d " + std::to_string(uiDevices - 1) +
                                     " -p 192 560 832 584 -et 1 -l 1000 >/dev/null")
                                        .c_str());
    if (!WIFEXITED(iStatus) || WEXITSTATUS(iStatus) != 0)
        throw std::runtime_error("the tool does not run under strace");
    int           iCalls = 0;
    std::ifstream oCalls(strCalls);
    for (std::string strLine; std::getline(oCalls, strLine);)
    {
        if (iCalls > 0 && strLine.find("FUTEX_WAIT") != std::string::npos)
            return iCalls;
        iCalls += iCalls > 0 || strLine.find(strFolder) != std::string::npos ? 1 : 0;
    }
    throw std::runtime_error("the tool has not waited");
}
}

int main(int iArguments, char** ppszArguments)
{
    BenchmarkTable      oTable(iArguments, ppszArguments);
    const BoardOfItsOwn oOwn;
    const Board         oBoard = Board::Create(DefaultPlan());

    const int   iState = oBoard.m_oState.GetFile().Get();
    const auto  Ours   = [&] { oBoard.m_oState.ReadRegister(0, REG_PROGRESS_UPDATE); };
    const off_t iPlace = off_t{REG_PROGRESS_UPDATE} * 8;
    const auto  Peer   = [=] {
        char acRead[16];
        if (pread(iState, acRead, 16, 0) != 16 || lseek(iState, 0, SEEK_END) <= 0 || pread(iState, acRead, 4, iPlace) != 4)
            std::abort();
    };
    oTable.Compare("read of a register", "two pread and one lseek", CostAtMost(0.5), Ours, Peer);

    if (oTable.IsWhole() && std::system("strace -V >/dev/null 2>&1") != 0)
    {
        std::printf("calls that set up a run: not counted, there is no strace\n");
        return 0;
    }
    for (const auto& [uiDevices, uiOutputs] : {std::pair{1u, 1u}, {1u, 16u}, {8u, 16u}})
    {
        const std::string strBoard = std::to_string(uiDevices) + " x " + std::to_string(uiOutputs);
        oTable.Measure("calls that set up a run, board of " + strBoard, "60 and 40 an output", CostAtMost(1), "calls", 1,
                       [&] {
                           const double dCalls = CountCallsOfSetUp(uiDevices, uiOutputs), dMost = 60 + 40. * uiOutputs;
                           return BenchmarkTable::SMeasured{dCalls, dMost, dCalls / dMost};
                       });
    }
    return 0;
}
