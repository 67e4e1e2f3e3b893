// What whole runs cost, on a board in software of their own: processor time from the start to the first picture beside
// libpng alone decoding the same files, a step of the loop beside a bare one, and the memory taken at most beside what it
// must hold. The tool is the watched one (RunProbe.cpp); both programs of a pair start in turns.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "BenchmarkTable.h"
#include "Pictures.h"
#include "RunProbe.h"

namespace
{
constexpr double  MIB    = 1 << 20;
constexpr KUINT32 STEPS  = 61;  // in a round
constexpr size_t  ROUNDS = 9;

struct SRun
{
    double dFirstPictureMs, dPeakMiB, dStepUs, dBareStepUs, dStepRatio, dLongestStepUs;
};

std::string FolderOfPrograms()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

void Shell(const std::string& sCommand)
{
    const int iStatus = std::system(sCommand.c_str());
    if (!WIFEXITED(iStatus) || WEXITSTATUS(iStatus) != 0)
        throw std::runtime_error("failed: " + sCommand);
}

class CRuns
{
public:
    explicit CRuns(const Pictures& roPictures) : m_roPictures(roPictures)
    {
        // In memory, as a session's own folder is; not on a disk.
        m_sBoard = std::filesystem::exists("/dev/shm") ? "/dev/shm/benchmark-" + std::to_string(getpid())
                                                       : roPictures.GetFolder() + "/board";
        setenv("TAVRIN_BOARD", m_sBoard.c_str(), 1);
        setenv(PROBE_RESULT_VARIABLE, Result().c_str(), 1);
        Run(0);  // makes the board
    }

    ~CRuns() { std::filesystem::remove_all(m_sBoard); }
    CRuns(const CRuns&)            = delete;
    CRuns& operator=(const CRuns&) = delete;

    SRun Run(KUINT32 uiSteps) const
    {
        setenv(PROBE_STEPS_VARIABLE, std::to_string(uiSteps).c_str(), 1);
        Shell(FolderOfPrograms() + "/RunProbe -v 1920 1080 60 67 148500 88 44 148 4 5 36 no no + + no RGB_FULL 444 8 -i " +
              m_roPictures.Path("photograph") + " -a 832 300 1088 556 -f " + m_roPictures.GetFolder() +
              "/frame -p 640 900 1280 924 -l " + std::to_string(PROBE_STEP_MS) + " >" + Said());
        std::string   sLine;
        std::ifstream oSaid(Said());
        if (std::getline(oSaid, sLine))
            throw std::runtime_error("the watched tool does not run as it should: " + sLine);
        SRun          oRun{};
        std::ifstream oResult(Result());
        if (!(oResult >> oRun.dFirstPictureMs >> oRun.dPeakMiB >> oRun.dStepUs >> oRun.dBareStepUs >> oRun.dStepRatio >>
              oRun.dLongestStepUs))
            throw std::runtime_error("the watched tool has no result");
        return oRun;
    }

    double DecodeByLibpngMs() const
    {
        std::string sCommand = FolderOfPrograms() + "/LibpngAlone " + m_roPictures.Path("photograph");
        for (KUINT32 i = 1; i <= PROBE_FRAMES; ++i)
            sCommand.append(" ").append(m_roPictures.Path(Pictures::FrameName(i)));
        Shell(sCommand.append(" >").append(Result()));
        double        dMs = 0;
        std::ifstream oResult(Result());
        if (!(oResult >> dMs))
            throw std::runtime_error("no result of: " + sCommand);
        return dMs;
    }

private:
    std::string Result() const { return m_roPictures.GetFolder() + "/result"; }
    std::string Said() const { return m_roPictures.GetFolder() + "/said"; }

    const Pictures& m_roPictures;
    std::string     m_sBoard;
};
}

int main(int iArguments, char** ppszArguments)
{
    BenchmarkTable oTable(iArguments, ppszArguments);
    const Pictures oPictures;
    const CRuns    oRuns(oPictures);

    bool bOursFirst = false;
    oTable.Measure("start to first picture, 1920x1080, 24 frames", "libpng alone, same 25 files", CostAtMost(1.1), "ms", 31,
                   [&] {
                       bOursFirst          = !bOursFirst;
                       const double dFirst = bOursFirst ? oRuns.Run(0).dFirstPictureMs : 0;
                       const double dPeer  = oRuns.DecodeByLibpngMs();
                       const double dOurs  = bOursFirst ? dFirst : oRuns.Run(0).dFirstPictureMs;
                       return BenchmarkTable::SMeasured{dOurs, dPeer, dOurs / dPeer};
                   });
    std::vector<SRun> aoRounds;
    while (oTable.IsWhole() && aoRounds.size() < ROUNDS)
        aoRounds.push_back(oRuns.Run(STEPS));
    const auto Worst = [&](auto Cost) {
        return *std::max_element(aoRounds.begin(), aoRounds.end(),
                                 [&](auto& ro, auto& roOther) { return Cost(ro) < Cost(roOther); });
    };
    oTable.Measure("step of 16 ms, the worst of nine rounds", "memcpy of its bytes and one wait", CostAtMost(1.1), "us", 1,
                   [&] {
                       const SRun oRun = Worst([](const SRun& ro) { return ro.dStepRatio; });
                       return BenchmarkTable::SMeasured{oRun.dStepUs, oRun.dBareStepUs, oRun.dStepRatio};
                   });
    oTable.Measure("longest of all those steps", "the median of its round", CostAtMost(3), "us", 1, [&] {
        const auto Ratio = [](const SRun& ro) { return ro.dLongestStepUs / ro.dStepUs; };
        const SRun oRun  = Worst(Ratio);
        return BenchmarkTable::SMeasured{oRun.dLongestStepUs, oRun.dStepUs, Ratio(oRun)};
    });
    constexpr double dBuffer  = (Pictures::WIDTH + 16) * 4. * Pictures::HEIGHT;
    constexpr double dFrames  = PROBE_FRAMES * 4. * PROBE_FRAME_SIZE * PROBE_FRAME_SIZE;
    constexpr double dDecoded = 3. * Pictures::WIDTH * Pictures::HEIGHT;
    constexpr double dSum     = (dBuffer + std::max(dFrames, dDecoded)) / MIB;
    oTable.Measure("peak memory of that run", "buffer, frames or decoded picture", SurplusAtMost(8), "MiB", 5, [&] {
        const double dPeak = oRuns.Run(0).dPeakMiB;
        return BenchmarkTable::SMeasured{dPeak, dSum, dPeak / dSum};
    });
    return 0;
}
