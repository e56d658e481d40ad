// Work in a child process: a parse that ends the process (the fault of a
// finished tree without body, a stack overflow of a peer on deep input), one
// that runs too long, and a measurement of peak memory that must not mix with
// the benchmark's own.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Parsers::Bench {

struct ChildOutcome {
    enum class End {
        Finished,   // the work returned; `values` holds what it gave back
        Signalled,  // ended by a signal, `signal`
        TimedOut,   // still running after its time limit
        Failed,     // threw, or the child could not be started or read
    };
    End end = End::Failed;
    int signal = 0;
    // Wall-clock seconds from the fork to the child's end.
    double seconds = 0.0;
    std::vector<double> values;

    bool finished() const { return end == End::Finished; }
    // "finished", "fault: signal 11 (Segmentation fault)", "stopped at the
    // time limit", "failed"; without times, so that it is the same each run.
    std::string describe() const;
};

// Limits of a child process: an alarm after `seconds`, and an address space
// of at most `addressSpaceBytes` (0 for the inherited limit), so that a parser
// whose memory grows with the square of the input cannot take the machine's.
struct ChildLimits {
    unsigned seconds = 120;
    unsigned long long addressSpaceBytes = 0;
};

// Runs `work` in a forked child under the limits and hands back the numbers it
// returns. The child shares the benchmark's memory as it was at the fork, copy
// on write.
ChildOutcome runInChild(const std::function<std::vector<double>()>& work, ChildLimits limits);

// The same for work that returns bytes: they come back in `bytes`, and
// `outcome.values` stays empty.
ChildOutcome runInChildForBytes(const std::function<std::string()>& work, ChildLimits limits,
                                std::string& bytes);

// The peak of the resident memory of this process from the moment of its
// construction, over the resident memory at that moment. It trims the heap and
// resets the kernel's high-water mark first, so that memory that was already
// resident but free cannot hide what the work adds.
class PeakMemory {
public:
    PeakMemory();
    // Megabytes (10^6 bytes) above the start, at the highest point so far.
    double peakAboveStartMegabytes() const;

private:
    long startKilobytes;
};

// The peak resident memory of this process over its whole life (ru_maxrss).
double processPeakMegabytes();

}  // namespace Parsers::Bench
