// Compares this project with a peer that does the same work, in one process and one table.
#ifndef PAIRED_TIMER_H
#define PAIRED_TIMER_H

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// Pairs of work to be timed. Rounds of the two sides alternate, and so does which goes first, so that whatever else the
// machine does meets both; the times are the thread's own processor time. A ratio above 1 means that this project is faster.
class PairedTimer
{
public:
    using Work = std::function<void()>;

    explicit PairedTimer(unsigned uiRounds = 41) : m_uiRounds(uiRounds)
    {
        std::printf("%-52s %14s %14s %8s\n", "", "this project", "peer", "ratio");
    }

    // Prints one row: the median time of one call on either side, and the median of the rounds' ratios.
    void Compare(const std::string& roWhat, const Work& roOurs, const Work& roPeer) const
    {
        unsigned uiCalls = 1;
        while (TimeNs(roOurs, uiCalls) + TimeNs(roPeer, uiCalls) < 2 * MIN_ROUND_NS)
        {
            uiCalls *= 2;
        }

        std::vector<double> oOurs, oPeer, oRatio;
        for (unsigned uiRound = 0; uiRound < m_uiRounds; ++uiRound)
        {
            double dOurs = uiRound % 2 == 0 ? TimeNs(roOurs, uiCalls) : 0;
            double dPeer = TimeNs(roPeer, uiCalls);
            dOurs        = uiRound % 2 == 0 ? dOurs : TimeNs(roOurs, uiCalls);
            oOurs.push_back(dOurs / uiCalls);
            oPeer.push_back(dPeer / uiCalls);
            oRatio.push_back(dPeer / dOurs);
        }
        std::printf("%-52s %11.2f us %11.2f us %8.2f\n", roWhat.c_str(), Median(oOurs) / 1000, Median(oPeer) / 1000,
                    Median(oRatio));
    }

private:
    static constexpr double MIN_ROUND_NS = 2e6;

    static double TimeNs(const Work& roWork, unsigned uiCalls)
    {
        const double dStart = NowNs();
        for (unsigned i = 0; i < uiCalls; ++i)
        {
            roWork();
        }
        return NowNs() - dStart;
    }

    static double NowNs()
    {
        timespec oTime{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &oTime);
        return static_cast<double>(oTime.tv_sec) * 1e9 + static_cast<double>(oTime.tv_nsec);
    }

    static double Median(std::vector<double> oValues)
    {
        const auto oMiddle = oValues.begin() + static_cast<std::ptrdiff_t>(oValues.size() / 2);
        std::nth_element(oValues.begin(), oMiddle, oValues.end());
        return *oMiddle;
    }

    unsigned m_uiRounds;
};

#endif
