#include "measure.h"

#include <algorithm>
#include <numeric>

namespace Parsers::Bench {

// Taken by value: sorting a copy leaves the rounds in the order they ran.
double median(std::vector<double> values)
{
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    std::size_t middle = values.size() / 2;
    if (values.size() % 2 == 1) return values[middle];
    return (values[middle - 1] + values[middle]) / 2;
}

double Timing::totalSeconds() const
{
    return std::accumulate(rounds.begin(), rounds.end(), 0.0);
}

double Timing::medianSeconds() const
{
    return median(rounds);
}

std::vector<Timing> runByTurns(const std::vector<Workload*>& workloads, double seconds,
                               std::size_t minimumRounds, double slice)
{
    std::vector<Timing> timings(workloads.size());
    for (std::size_t i = 0; i < workloads.size(); ++i) {
        timings[i].label = workloads[i]->label();
        timings[i].bytesPerRound = workloads[i]->bytesPerRound();
    }
    // One untimed round each first: the first parse of a process pays for
    // pages faulted in, lazy initialisation and cold caches.
    for (Workload* workload : workloads) workload->runRound();
    auto finished = [&](const Timing& timing) {
        return timing.rounds.size() >= minimumRounds && timing.totalSeconds() >= seconds;
    };
    bool allFinished = false;
    while (!allFinished) {
        allFinished = true;
        for (std::size_t i = 0; i < workloads.size(); ++i) {
            if (finished(timings[i])) continue;
            // One turn: rounds until the slice is used, or the workload is done.
            double turn = 0.0;
            do {
                double round = workloads[i]->runRound();
                timings[i].rounds.push_back(round);
                turn += round;
            } while (turn < slice && !finished(timings[i]));
            allFinished = allFinished && finished(timings[i]);
        }
    }
    return timings;
}

}  // namespace Parsers::Bench
