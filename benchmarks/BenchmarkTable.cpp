#include "BenchmarkTable.h"

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace
{
constexpr unsigned TRIES             = 15;
constexpr unsigned PAIRS             = 9;  // in a try
constexpr double   MIN_ROUND_NS      = 2e6;
constexpr int      INSTRUCTION_CALLS = 3;

double TimeNs(const BenchmarkTable::Work& roWork, const BenchmarkTable::Work& roPrepare, unsigned uiCalls)
{
    double dSum = 0;
    for (unsigned i = 0; roPrepare && i < uiCalls; ++i)
    {
        roPrepare();
        const double dStart = ThreadTimeNs();
        roWork();
        dSum += ThreadTimeNs() - dStart;
    }
    if (roPrepare)
        return dSum;

    const double dStart = ThreadTimeNs();
    for (unsigned i = 0; i < uiCalls; ++i)
        roWork();
    return ThreadTimeNs() - dStart;
}

BenchmarkTable::SMeasured TimePairs(const BenchmarkTable::Work& roOurs, const BenchmarkTable::Work& roPeer,
                                    const BenchmarkTable::Work& roPrepare)
{
    unsigned uiCalls = 1;
    while (TimeNs(roOurs, roPrepare, uiCalls) + TimeNs(roPeer, roPrepare, uiCalls) < 2 * MIN_ROUND_NS)
        uiCalls *= 2;

    std::vector<double> oOurs, oPeer, oRatio;
    for (unsigned uiPair = 0; uiPair < PAIRS; ++uiPair)
    {
        double       dOurs = uiPair % 2 == 0 ? TimeNs(roOurs, roPrepare, uiCalls) : 0;
        const double dPeer = TimeNs(roPeer, roPrepare, uiCalls);
        dOurs              = uiPair % 2 == 0 ? dOurs : TimeNs(roOurs, roPrepare, uiCalls);
        oOurs.push_back(dOurs / uiCalls);
        oPeer.push_back(dPeer / uiCalls);
        oRatio.push_back(dOurs / dPeer);
    }
    return {Median(oOurs), Median(oPeer), Median(oRatio)};
}

std::string ReadOutputOf(const std::string& sCommand)
{
    std::FILE* poPipe = popen(sCommand.c_str(), "r");
    if (poPipe == nullptr)
        throw std::runtime_error("cannot run " + sCommand);
    std::string sOutput;
    for (int i = std::fgetc(poPipe); i != EOF; i = std::fgetc(poPipe))
        sOutput.push_back(static_cast<char>(i));
    if (pclose(poPipe) != 0)
        throw std::runtime_error("failed: " + sCommand);
    return sOutput;
}

// The command that starts this program again.
std::string SelfCommand()
{
    std::ostringstream oCommand;
    oCommand << std::filesystem::read_symlink("/proc/self/exe");  // quoted
    return oCommand.str();
}

// Instructions of uiCalls calls of one side of a row, and of all that a process does before.
double CountInstructions(int iRow, const char* pszSide, int iCalls)
{
    const std::string sOutput =
        ReadOutputOf("valgrind --tool=callgrind --callgrind-out-file=/dev/null " + SelfCommand() + " " +
                     std::to_string(iRow) + " " + pszSide + " " + std::to_string(iCalls) + " 2>&1");
    const char   acLabel[] = "Collected : ";
    const size_t uiPlace   = sOutput.rfind(acLabel);
    if (uiPlace == std::string::npos)
        throw std::runtime_error("no count in: " + sOutput);
    return std::atof(sOutput.c_str() + uiPlace + sizeof(acLabel) - 1);
}
}

double ThreadTimeNs()
{
    timespec oTime{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &oTime);
    return static_cast<double>(oTime.tv_sec) * 1e9 + static_cast<double>(oTime.tv_nsec);
}

double Median(std::vector<double> oValues)
{
    const auto oMiddle = oValues.begin() + static_cast<std::ptrdiff_t>(oValues.size() / 2);
    std::nth_element(oValues.begin(), oMiddle, oValues.end());
    return *oMiddle;
}

BenchmarkTable::BenchmarkTable(int iArguments, char** ppszArguments)
{
    if (iArguments > 1)
        m_iTriedRow = std::atoi(ppszArguments[1]);
    if (iArguments > 3)
    {
        m_sRunOnly = ppszArguments[2];
        m_iCalls   = std::atoi(ppszArguments[3]);
    }
    if (IsWhole())
        std::printf("%-46s %18s  %-32s %18s  %6s  %-8s %s\n", "", "this project", "beside", "", "ratio", "goal", "met");
}

void BenchmarkTable::Compare(const std::string& roWhat, const std::string& roPeer, SGoal oGoal, const Work& roOurs,
                             const Work& roPeerWork, const Work& roPrepare)
{
    ++m_iRow;
    if (m_iTriedRow == m_iRow)
    {
        const SMeasured oMeasured = TimePairs(roOurs, roPeerWork, roPrepare);
        std::printf("%.3f %.3f %.6f\n", oMeasured.dOurs / 1000, oMeasured.dPeer / 1000, oMeasured.dRatio);
        std::exit(0);
    }
    if (!IsWhole())
        return;

    const std::string sCommand = SelfCommand() + " " + std::to_string(m_iRow);
    Measure(roWhat, roPeer, oGoal, "us", TRIES, [&] {
        SMeasured oMeasured{};
        if (std::sscanf(ReadOutputOf(sCommand).c_str(), "%lf %lf %lf", &oMeasured.dOurs, &oMeasured.dPeer,
                        &oMeasured.dRatio) != 3)
            throw std::runtime_error("no result of: " + sCommand);
        return oMeasured;
    });
}

void BenchmarkTable::CompareInstructions(const std::string& roWhat, const std::string& roPeer, SGoal oGoal,
                                         const Work& roOurs, const Work& roPeerWork, const Work& roPrepare)
{
    ++m_iRow;
    if (m_iTriedRow == m_iRow)
    {
        for (int i = 0; i < INSTRUCTION_CALLS; ++i)
        {
            roPrepare();
            if (i < m_iCalls)
                m_sRunOnly == "ours" ? roOurs() : roPeerWork();
        }
        std::exit(0);
    }
    if (!IsWhole())
        return;

    if (std::system("valgrind --version >/dev/null 2>&1") != 0)
    {
        std::printf("%-46s not counted: there is no valgrind\n", roWhat.c_str());
        return;
    }
    // What a process does around the calls goes away in the difference.
    const int  iRow  = m_iRow;
    const auto Count = [iRow](const char* pszSide) {
        return (CountInstructions(iRow, pszSide, INSTRUCTION_CALLS) - CountInstructions(iRow, pszSide, 1)) /
               (INSTRUCTION_CALLS - 1);
    };
    Measure(roWhat, roPeer, oGoal, "instr", 1, [&] {
        const double dOurs = Count("ours"), dPeer = Count("peer");
        return SMeasured{dOurs, dPeer, dOurs / dPeer};
    });
}

void BenchmarkTable::Measure(const std::string& roWhat, const std::string& roPeer, SGoal oGoal, const char* pszUnit,
                             unsigned uiTries, const std::function<SMeasured()>& roTry)
{
    if (!IsWhole())
        return;
    std::vector<double> oOurs, oPeer, oRatio;
    for (unsigned i = 0; i < uiTries; ++i)
    {
        const SMeasured oMeasured = roTry();
        oOurs.push_back(oMeasured.dOurs);
        oPeer.push_back(oMeasured.dPeer);
        oRatio.push_back(oMeasured.dRatio);
    }
    const SMeasured oRow{Median(oOurs), Median(oPeer), Median(oRatio)};

    using ESense            = SGoal::ESense;
    const bool   bIsTotal   = oGoal.eSense == ESense::SURPLUS_AT_MOST;
    const bool   bIsCost    = oGoal.eSense == ESense::COST_AT_MOST;
    const double dShown     = bIsTotal ? oRow.dOurs - oRow.dPeer : bIsCost ? oRow.dRatio : 1 / oRow.dRatio;
    const bool   bIsMet     = bIsTotal || bIsCost ? dShown <= oGoal.dLimit : dShown >= oGoal.dLimit;
    char         acGoal[32] = "-";
    if (oGoal.eSense != ESense::NONE)
        std::snprintf(acGoal, sizeof(acGoal), "%s %.2f", bIsTotal || bIsCost ? "<=" : ">=", oGoal.dLimit);

    std::printf("%-46s %12.2f %-5s  %-32s %12.2f %-5s  %6.3f  %-8s %s\n", roWhat.c_str(), oRow.dOurs, pszUnit,
                roPeer.c_str(), oRow.dPeer, pszUnit, dShown, acGoal,
                oGoal.eSense == ESense::NONE ? "-"
                : bIsMet                     ? "yes"
                                             : "NO");
    std::fflush(stdout);
}
