// One program's rows of the table of benchmarks: this project beside a limit or a peer, and whether the goal is met.
#ifndef BENCHMARK_TABLE_H
#define BENCHMARK_TABLE_H

#include <functional>
#include <string>
#include <vector>

// What a row is to reach. A speed is the peer's time over ours, a cost ours over the peer's, a surplus what ours is above
// the peer's.
struct SGoal
{
    enum class ESense
    {
        NONE,  // the ratio is shown as a speed
        SPEED_AT_LEAST,
        COST_AT_MOST,
        SURPLUS_AT_MOST,
    };
    ESense eSense = ESense::NONE;
    double dLimit = 0;
};

constexpr SGoal SpeedAtLeast(double dLimit)
{
    return {SGoal::ESense::SPEED_AT_LEAST, dLimit};
}
constexpr SGoal CostAtMost(double dLimit)
{
    return {SGoal::ESense::COST_AT_MOST, dLimit};
}
constexpr SGoal SurplusAtMost(double dLimit)
{
    return {SGoal::ESense::SURPLUS_AT_MOST, dLimit};
}

// A time is the thread's own processor time. Every row is tried in fresh processes, so that no try inherits another's heap,
// addresses or caches: the program starts itself again for each, and main runs down to the row that is tried. In a process
// the two sides alternate, and so does which goes first, so that whatever else the machine does meets both. A row shows the
// medians of all tries.
class BenchmarkTable
{
public:
    using Work = std::function<void()>;

    struct SMeasured
    {
        double dOurs;
        double dPeer;
        double dRatio;  // ours over the peer's; the median of the pairs, where there were several
    };

    // Takes the arguments of main. Prints the head of the table, unless this process is a try.
    BenchmarkTable(int iArguments, char** ppszArguments);

    // True in the process that prints the table, false in one that is a try of a row.
    bool IsWhole() const { return m_iTriedRow < 0; }

    // Times two pieces of work that do the same. What has to be made good before each call, and is not timed, is roPrepare.
    void Compare(const std::string& roWhat, const std::string& roPeer, SGoal oGoal, const Work& roOurs,
                 const Work& roPeerWork, const Work& roPrepare = nullptr);

    // Counts the instructions of one call of either, by valgrind. Says so where there is no valgrind.
    void CompareInstructions(const std::string& roWhat, const std::string& roPeer, SGoal oGoal, const Work& roOurs,
                             const Work& roPeerWork, const Work& roPrepare);

    // A row whose tries start processes of their own; called uiTries times.
    void Measure(const std::string& roWhat, const std::string& roPeer, SGoal oGoal, const char* pszUnit, unsigned uiTries,
                 const std::function<SMeasured()>& roTry);

private:
    std::string m_sRunOnly;        // the side whose calls are counted: "ours" or "peer"
    int         m_iRow      = -1;  // the last that main came to
    int         m_iTriedRow = -1;  // in a try, the only one that does anything
    int         m_iCalls    = 0;
};

// The CPU time that the calling thread has used, in nanoseconds.
double ThreadTimeNs();

double Median(std::vector<double> oValues);

#endif
