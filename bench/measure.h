// Timing of the benchmark: workloads run in rounds, and a measurement is the
// median of its rounds, which shrugs off the odd round slowed by other work
// on a shared machine.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace Parsers::Bench {

using Clock = std::chrono::steady_clock;

inline double secondsBetween(Clock::time_point start, Clock::time_point end)
{
    return std::chrono::duration<double>(end - start).count();
}

// Bytes over seconds, in decimal megabytes (10^6 bytes) per second.
inline double megabytesPerSecond(double bytes, double seconds)
{
    return seconds > 0 ? bytes / 1e6 / seconds : 0.0;
}

// Something timed in rounds: one round is one pass over the workload's inputs.
class Workload {
public:
    virtual ~Workload() = default;
    virtual std::string label() const = 0;
    // Input bytes that one round counts for the throughput.
    virtual std::uint64_t bytesPerRound() const = 0;
    // Runs one round and returns the seconds spent in its timed parts; the
    // preparation of each input (a fresh copy, say) is left out.
    virtual double runRound() = 0;
};

struct Timing {
    std::string label;
    std::uint64_t bytesPerRound = 0;
    std::vector<double> rounds;

    double totalSeconds() const;
    double medianSeconds() const;
    double medianMegabytesPerSecond() const
    {
        return megabytesPerSecond(static_cast<double>(bytesPerRound), medianSeconds());
    }
};

double median(std::vector<double> values);

// Runs one untimed round of each workload, then runs them by turns, each for
// about `slice` seconds (at least one round) per turn, until every one has
// spent `seconds` in timed work and done at least `minimumRounds` rounds.
// Taking turns spreads a slow spell of the machine over all of them, so that
// their ratios stay fair.
std::vector<Timing> runByTurns(const std::vector<Workload*>& workloads, double seconds,
                               std::size_t minimumRounds, double slice = 0.5);

}  // namespace Parsers::Bench
