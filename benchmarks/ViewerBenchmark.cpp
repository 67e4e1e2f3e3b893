// What the programs that look at a board cost: snapshot and preview beside libpng, and what tool and watch use in a second
// while nothing changes, in the tool's own step, and in steps of 16 ms. The board lies in memory. Each row runs the built
// programs; processor time and wake-ups are the kernel's count of the process and its threads.
#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "BenchmarkTable.h"
#include "Pictures.h"

namespace
{
using SMeasured = BenchmarkTable::SMeasured;
using Words     = std::vector<std::string>;

constexpr double FRAME_MIB = Pictures::FRAME_SIZE * Pictures::FRAME_SIZE * 4. / (1 << 20);

const Words MODE_1080P = {"-v", "1920", "1080", "60", "67", "148500", "88", "44",       "148", "4",
                          "5",  "36",   "no",   "no", "+",  "+",      "no", "RGB_FULL", "444", "8"};
const Words MODE_4K    = {"-v", "3840", "2160", "60", "135", "594000", "176", "88",       "296", "8",
                          "10", "72",   "no",   "no", "+",   "+",      "no",  "RGB_FULL", "444", "8"};

Words operator+(Words oLeft, const Words& roRight)
{
    oLeft.insert(oLeft.end(), roRight.begin(), roRight.end());
    return oLeft;
}

std::string Program(const std::string& sName)
{
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / sName).string();
}

// What a process has used, and the most memory that it had.
struct SUse
{
    double dMs = 0, dWakes = 0, dPeakMiB = 0;
};

class CProcess
{
public:
    enum class EOutput
    {
        NOWHERE,
        TERMINAL,  // of 200 columns and 50 rows, whose text a thread takes
    };

    explicit CProcess(const Words& roWords, EOutput eOutput = EOutput::NOWHERE)
    {
        std::vector<char*> apsz;
        for (const std::string& rs : roWords)
            apsz.push_back(const_cast<char*>(rs.c_str()));
        apsz.push_back(nullptr);
        winsize oSize = {50, 200, 0, 0};
        m_iPid        = eOutput == EOutput::TERMINAL ? forkpty(&m_iTerminal, nullptr, nullptr, &oSize) : fork();
        if (m_iPid < 0)
            throw std::runtime_error("cannot start " + roWords[0]);
        if (m_iPid == 0)
        {
            const int iNowhere = open("/dev/null", O_RDWR);
            if (eOutput == EOutput::NOWHERE)
                dup2(iNowhere, STDOUT_FILENO);
            execv(apsz[0], apsz.data());
            _exit(127);
        }
        if (eOutput == EOutput::TERMINAL)
            m_oReader = std::thread([iTerminal = m_iTerminal] {
                char acText[65536];
                while (read(iTerminal, acText, sizeof(acText)) > 0)
                {}
            });
    }
    ~CProcess()
    {
        kill(m_iPid, SIGTERM);
        waitpid(m_iPid, nullptr, 0);
        if (m_oReader.joinable())
            m_oReader.join();
        if (m_iTerminal >= 0)
            close(m_iTerminal);
    }
    CProcess(const CProcess&)            = delete;
    CProcess& operator=(const CProcess&) = delete;

    SUse GetUse() const
    {
        SUse              oUse;
        const std::string sProcess = "/proc/" + std::to_string(m_iPid);
        for (const auto& roTask : std::filesystem::directory_iterator(sProcess + "/task"))
        {
            double dNs = 0;
            std::ifstream(roTask.path() / "schedstat") >> dNs;
            oUse.dMs += dNs / 1e6;
            oUse.dWakes += Field(roTask.path() / "status", "voluntary_ctxt_switches:");
        }
        oUse.dPeakMiB = Field(sProcess + "/status", "VmHWM:") / 1024;
        return oUse;
    }

    // What it uses in a second, after it has come to rest. Watch reads the board every five seconds though nothing has
    // changed, so the mean is that of twice that time.
    SUse GetUsePerSecond() const
    {
        constexpr std::chrono::seconds oRest(5), oMeasured(10);
        std::this_thread::sleep_for(oRest);
        const SUse oBefore = GetUse();
        std::this_thread::sleep_for(oMeasured);
        const SUse oAfter = GetUse();
        return {(oAfter.dMs - oBefore.dMs) / oMeasured.count(), (oAfter.dWakes - oBefore.dWakes) / oMeasured.count(),
                oAfter.dPeakMiB};
    }

private:
    static double Field(const std::filesystem::path& roFile, const std::string& sName)
    {
        std::ifstream oFile(roFile);
        std::string   sWord;
        double        dValue = 0;
        while (oFile >> sWord && sWord != sName)
        {}
        oFile >> dValue;
        return dValue;
    }

    pid_t       m_iPid      = -1;
    int         m_iTerminal = -1;
    std::thread m_oReader;
};

// Runs a program to its end. Returns the processor time that it and its children used.
double RunMs(const Words& roWords)
{
    const auto fNow = [] {
        rusage o = {};
        getrusage(RUSAGE_CHILDREN, &o);
        return static_cast<double>(o.ru_utime.tv_sec + o.ru_stime.tv_sec) * 1e3 +
               static_cast<double>(o.ru_utime.tv_usec + o.ru_stime.tv_usec) / 1e3;
    };
    const double dStart = fNow();
    std::string  sCommand;
    for (const std::string& rs : roWords)
        sCommand += "'" + rs + "' ";
    if (std::system((sCommand + ">/dev/null").c_str()) != 0)
        throw std::runtime_error("failed: " + sCommand);
    return fNow() - dStart;
}

const std::string& Panel()
{
    static const std::string s_s = Program("../bin/tavrin-board");
    return s_s;
}

void MakeBoard(unsigned uiOutputs)
{
    RunMs({Panel(), "create", "--outputs", std::to_string(uiOutputs)});
}

// A run that shows its picture.
class CRun
{
public:
    explicit CRun(const Words& roArguments) : m_oTool(Words{Program("../bin/QelProgressBarDisplay")} + roArguments)
    {
        RunMs({Panel(), "wait", "--shown", "--timeout", "120"});
        m_oFirstPicture = m_oTool.GetUse();
    }
    const CProcess& Get() const { return m_oTool; }
    const SUse&     GetFirstPicture() const { return m_oFirstPicture; }

private:
    CProcess m_oTool;
    SUse     m_oFirstPicture;
};

class CMeasurements
{
public:
    explicit CMeasurements(BenchmarkTable& roTable) : m_roTable(roTable)
    {
        m_sBoard =
            (std::filesystem::exists("/dev/shm") ? "/dev/shm/benchmark-" : "/tmp/benchmark-") + std::to_string(getpid());
        setenv("TAVRIN_BOARD", m_sBoard.c_str(), 1);
        setenv("TERM", "xterm-256color", 1);
        setenv("COLORTERM", "truecolor", 1);
        setenv("LANG", "C.UTF-8", 1);
        m_oPictures.Write("photograph4k", 3840, 2160, 3, m_auiPhotograph);
        for (KUINT32 ui = Pictures::FRAMES + 1; ui <= MOST_FRAMES; ++ui)
            std::filesystem::create_symlink(m_oPictures.Path(Pictures::FrameName((ui - 1) % Pictures::FRAMES + 1)),
                                            m_oPictures.Path(Pictures::FrameName(ui)));
        // The tool plays frames until a number is missing. This folder has only the first ones.
        std::filesystem::create_directory(Few(Pictures::FRAMES));
        std::filesystem::create_directory(Few(SOME_FRAMES));
        for (const KUINT32 uiFrames : {Pictures::FRAMES, SOME_FRAMES})
        {
            for (KUINT32 ui = 1; ui <= uiFrames; ++ui)
                std::filesystem::create_symlink(m_oPictures.Path(Pictures::FrameName(ui)),
                                                Few(uiFrames) + "/" + Pictures::FrameName(ui) + ".png");
        }
    }
    ~CMeasurements() { std::filesystem::remove_all(m_sBoard); }
    CMeasurements(const CMeasurements&)            = delete;
    CMeasurements& operator=(const CMeasurements&) = delete;

    void MeasureSnapshot()
    {
        MakeBoard(2);
        const CRun        oRun(MODE_4K + Words{"-i", m_oPictures.Path("photograph4k")});
        const std::string sOurs = m_oPictures.Path("snapshot"), sPeer = m_oPictures.Path("photograph4k");
        m_roTable.Measure("snapshot 3840x2160, photograph", "libpng as it packs by default", CostAtMost(0.4 / 3.7), "ms", 3,
                          [&] {
                              const double dOurs = RunMs({Panel(), "snapshot", "0", sOurs}), dStart = ThreadTimeNs();
                              m_oPictures.Write("photograph4k", 3840, 2160, 3, m_auiPhotograph);
                              const double dPeer = (ThreadTimeNs() - dStart) / 1e6;
                              return SMeasured{dOurs, dPeer, dOurs / dPeer};
                          });
        m_roTable.Measure("its file", "libpng as it packs by default", CostAtMost(1.3), "KiB", 1, [&] {
            const double dOurs = static_cast<double>(std::filesystem::file_size(sOurs)) / 1024;
            const double dPeer = static_cast<double>(std::filesystem::file_size(sPeer)) / 1024;
            return SMeasured{dOurs, dPeer, dOurs / dPeer};
        });
    }

    void MeasurePreview()
    {
        const Words oDecode   = {Program("LibpngAlone"), m_oPictures.Path("photograph4k")};
        const Words oPreview  = Words{Panel(), "preview", m_oPictures.Path("sheet"), "--"} + MODE_4K;
        const Words oArgument = {"-i", m_oPictures.Path("photograph4k"), "-p", "300", "1900", "3500", "2000", "-l", "100"};
        m_roTable.Measure("preview 3840x2160, five pictures", "libpng alone, same file", CostAtMost(1.5), "ms", 5, [&] {
            const double dPeer = RunMs(oDecode), dOurs = RunMs(oPreview + oArgument);
            return SMeasured{dOurs, dPeer, dOurs / dPeer};
        });
    }

    void MeasureWatch()
    {
        const Words oBar       = {"-i", m_oPictures.Path("photograph"), "-p", "100", "1000", "1800", "1040"};
        const Words oAnimation = {"-a", "832", "300", "1088", "556"};
        const Words oFrames    = {"-f", Few(Pictures::FRAMES) + "/frame", "-l", "16"};
        MeasureWatchOf("nobody draws", oBar + Words{"-et", "1", "-l", "16"}, {0.05, 0.05}, true);
        MeasureWatchOf("nothing changes", oBar + Words{"-l", "10000"}, {1, 1}, false);
        MeasureWatchOf("the tool's own step", oBar + oAnimation, {}, false);
        MeasureWatchOf("16 ms, 256x256 animation", oBar + oAnimation + oFrames, {60, 0}, false);
    }

    void MeasureManyOutputs()
    {
        const Words oArguments = MODE_4K + Words{"-i", m_oPictures.Path("photograph4k"), "-a", "832", "300", "1088", "556",
                                                 "-f", Few(Pictures::FRAMES) + "/frame", "-l", "16"};
        // Outputs show one buffer, so many cost little more than one. A cost that grows with them breaks the limit.
        const auto fMeasure = [&](const char* pszWhat, unsigned uiTries, const auto& fUseMs) {
            m_roTable.Measure(std::string(pszWhat) + " of 16 outputs of 4K", "that of one", CostAtMost(1.5), "ms", uiTries,
                              [&] {
                                  MakeBoard(1);
                                  const double dPeer = fUseMs();
                                  MakeBoard(16);
                                  const double dOurs = fUseMs();
                                  return SMeasured{dOurs, dPeer, dOurs / dPeer};
                              });
        };
        fMeasure("first picture", 5, [&] { return CRun(oArguments).GetFirstPicture().dMs; });
        fMeasure("watch", 1, [&] {
            const CRun oRun(oArguments);
            return CProcess({Panel(), "watch"}, CProcess::EOutput::TERMINAL).GetUsePerSecond().dMs;
        });
        if (HasDisplay())
            fMeasure("watch --window", 1, [&] {
                const CRun oRun(oArguments);
                return CProcess({Panel(), "watch", "--window"}).GetUsePerSecond().dMs;
            });
    }

    void MeasureManyFrames()
    {
        MakeBoard(2);
        const auto fRun = [&](const std::string& sFrames) {
            const CRun oRun(MODE_1080P + Words{"-i", m_oPictures.Path("photograph"), "-a", "832", "300", "1088", "556", "-f",
                                               sFrames, "-l", "10000"});
            return oRun.GetFirstPicture();
        };
        // Of a round, and after one that is not timed: all files were read before.
        SUse       oFew, oSome, oMany;
        const auto fRound = [&] {
            oFew                   = fRun(Few(Pictures::FRAMES) + "/frame");
            oSome                  = fRun(Few(SOME_FRAMES) + "/frame");
            oMany                  = fRun(m_oPictures.GetFolder() + "/frame");
            constexpr double dOf   = double{MOST_FRAMES - Pictures::FRAMES} / (SOME_FRAMES - Pictures::FRAMES);
            const double     dOurs = oMany.dMs - oFew.dMs, dPeer = dOf * (oSome.dMs - oFew.dMs);
            return SMeasured{dOurs, dPeer, dOurs / dPeer};
        };
        fRound();
        m_roTable.Measure("first picture with 2000 frames, 1920x1080", "as linear as from 24 to 200", CostAtMost(1.1), "ms",
                          5, fRound);
        for (const auto& [oUse, uiFrames] : {std::pair(oSome, SOME_FRAMES), std::pair(oMany, MOST_FRAMES)})
        {
            const double dMiB = oUse.dPeakMiB, dRoomMiB = oFew.dPeakMiB + (uiFrames - Pictures::FRAMES) * FRAME_MIB;
            m_roTable.Measure("memory of " + std::to_string(uiFrames) + " frames, 1920x1080",
                              "that with 24, and a frame each", SurplusAtMost(1), "MiB", 1, [&] {
                                  return SMeasured{dMiB, dRoomMiB, dMiB / dRoomMiB};
                              });
        }
    }

private:
    static constexpr KUINT32 SOME_FRAMES = 200, MOST_FRAMES = 2000;

    static bool HasDisplay() { return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr; }

    // A row each for processor time and wake-ups, of the tool and of watch in the terminal and in a window. A limit of 0 is
    // none.
    void MeasureWatchOf(const std::string& sWhat, const Words& roArguments, SUse oLimit, bool bEnds)
    {
        MakeBoard(2);
        auto poRun = std::make_unique<CRun>(MODE_1080P + roArguments);
        if (bEnds)
        {
            RunMs({Panel(), "wait", "--ended", "--timeout", "60"});
            poRun.reset();
        }
        else
            Print("tool: " + sWhat, poRun->Get().GetUsePerSecond(), {});
        Print("watch: " + sWhat, CProcess({Panel(), "watch"}, CProcess::EOutput::TERMINAL).GetUsePerSecond(), oLimit);
        if (HasDisplay())
            Print("watch --window: " + sWhat, CProcess({Panel(), "watch", "--window"}).GetUsePerSecond(), oLimit);
    }

    void Print(const std::string& sWhat, const SUse& roUse, const SUse& roLimit)
    {
        const auto fRow = [&](const std::string& sOf, const char* pszUnit, double dOurs, double dLimit) {
            const SGoal oGoal = dLimit > 0 ? CostAtMost(1) : SGoal{};
            m_roTable.Measure(sOf, dLimit > 0 ? "the goal, in a second" : "-, in a second", oGoal, pszUnit, 1, [&] {
                return SMeasured{dOurs, dLimit, dLimit > 0 ? dOurs / dLimit : HUGE_VAL};
            });
        };
        fRow(sWhat, "ms", roUse.dMs, roLimit.dMs);
        fRow(sWhat, "wakes", roUse.dWakes, roLimit.dWakes);
    }

    std::string Few(KUINT32 uiFrames) const { return m_oPictures.GetFolder() + "/first" + std::to_string(uiFrames); }

    BenchmarkTable&           m_roTable;
    const Pictures            m_oPictures;
    const std::vector<KUINT8> m_auiPhotograph = Pictures::MakePhotograph(3840, 2160);
    std::string               m_sBoard;
};
}

int main(int iArguments, char** ppszArguments)
{
    BenchmarkTable oTable(iArguments, ppszArguments);
    CMeasurements  oMeasurements(oTable);
    oMeasurements.MeasureSnapshot();
    oMeasurements.MeasurePreview();
    oMeasurements.MeasureWatch();
    oMeasurements.MeasureManyOutputs();
    oMeasurements.MeasureManyFrames();
    return 0;
}
