// Running the work of one file in a child process under a time and a memory
// limit (domparse --limit, POSIX only). A parse that the library never ends,
// or that ends the process with a fault, then ends the child alone, and the
// tool reports it in words and goes on with the next file.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Parsers::Cli {

struct ParseLimit {
    // Wall time the child may take, from its start to its exit.
    unsigned seconds = 10;
    // Address space the child may take beyond what the tool holds when it
    // starts the child: a parse that needs more runs out of memory (result 3).
    std::uint64_t megabytes = 1024;
};

// "SECONDS" or "SECONDS,MEGABYTES", both whole numbers above 0.
std::optional<ParseLimit> parseLimitValue(const std::string& text);

enum class ChildEnd {
    Exited,         // the work returned; exitStatus is its value
    TimedOut,       // still running when the time was up: killed
    Signaled,       // ended by a signal of its own (a fault, an abort)
    CouldNotStart,  // no child process could be made
};

struct LimitedRun {
    ChildEnd end = ChildEnd::CouldNotStart;
    int exitStatus = 0;
    int signal = 0;
};

// True where the limits can be kept (a POSIX system).
bool limitsAvailable();

// Runs `work` in a child process under `limit` and waits for it. The child
// ends with _exit of what `work` returns, after flushing the C++ and C
// streams; the caller flushes its own streams before, so that nothing
// buffered is written twice.
LimitedRun runWithLimit(const ParseLimit& limit, const std::function<int()>& work);

// The end of a child that did not exit, in words:
//   "parse of FILE did not finish within N s"
//   "parse of FILE ended the process: signal 11 (Segmentation fault)"
//   "parse of FILE could not be started in a child process"
std::string describeChildEnd(const LimitedRun& run, const std::string& file,
                             const ParseLimit& limit);

}  // namespace Parsers::Cli
