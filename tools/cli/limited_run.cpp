#include "limited_run.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#if !defined(_WIN32)
#include <csignal>
#include <ctime>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace Parsers::Cli {

namespace {

// A whole number from 1 up to `maximum`, all digits.
std::optional<std::uint64_t> positiveNumber(const std::string& text, std::uint64_t maximum)
{
    if (text.empty() || text.size() > 12) return std::nullopt;
    std::uint64_t value = 0;
    for (char digit : text) {
        if (digit < '0' || digit > '9') return std::nullopt;
        value = value * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    if (value == 0 || value > maximum) return std::nullopt;
    return value;
}

#if !defined(_WIN32)
// The address space the process holds now, in bytes.
std::uint64_t addressSpaceInUse()
{
    unsigned long pages = 0;
    if (std::FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%lu", &pages) != 1) pages = 0;
        std::fclose(statm);
    }
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

[[noreturn]] void runChild(const ParseLimit& limit, const std::function<int()>& work)
{
    rlimit memory{};
    if (getrlimit(RLIMIT_AS, &memory) == 0) {
        const std::uint64_t wanted = addressSpaceInUse() + (limit.megabytes << 20);
        if (memory.rlim_max == RLIM_INFINITY || wanted < memory.rlim_max) {
            memory.rlim_cur = static_cast<rlim_t>(wanted);
            setrlimit(RLIMIT_AS, &memory);
        }
    }
    const int status = work();
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    _exit(status);
}

void sleepBriefly()
{
    const timespec pause{0, 5 * 1000 * 1000};
    nanosleep(&pause, nullptr);
}
#endif

}  // namespace

std::optional<ParseLimit> parseLimitValue(const std::string& text)
{
    const std::size_t comma = text.find(',');
    // A day and a terabyte are beyond any parse the tool is meant for.
    const auto seconds = positiveNumber(text.substr(0, comma), 86400);
    if (!seconds) return std::nullopt;
    ParseLimit limit;
    limit.seconds = static_cast<unsigned>(*seconds);
    if (comma != std::string::npos) {
        const auto megabytes = positiveNumber(text.substr(comma + 1), std::uint64_t{1} << 20);
        if (!megabytes) return std::nullopt;
        limit.megabytes = *megabytes;
    }
    return limit;
}

bool limitsAvailable()
{
#if defined(_WIN32)
    return false;
#else
    return true;
#endif
}

LimitedRun runWithLimit(const ParseLimit& limit, const std::function<int()>& work)
{
    LimitedRun run;
#if !defined(_WIN32)
    const pid_t child = fork();
    if (child < 0) return run;
    if (child == 0) runChild(limit, work);
    // The time is kept here, not by an alarm in the child, so that nothing the
    // child does can keep it from being ended.
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    int status = 0;
    for (;;) {
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child) break;
        if (done < 0 && errno != EINTR) return run;
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (now.tv_sec - start.tv_sec >= static_cast<time_t>(limit.seconds)) {
            kill(child, SIGKILL);
            while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
            }
            run.end = ChildEnd::TimedOut;
            return run;
        }
        sleepBriefly();
    }
    if (WIFEXITED(status)) {
        run.end = ChildEnd::Exited;
        run.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        run.end = ChildEnd::Signaled;
        run.signal = WTERMSIG(status);
    }
#else
    (void)limit;
    (void)work;
#endif
    return run;
}

std::string describeChildEnd(const LimitedRun& run, const std::string& file,
                             const ParseLimit& limit)
{
    switch (run.end) {
    case ChildEnd::TimedOut:
        return "parse of " + file + " did not finish within " + std::to_string(limit.seconds) +
               " s";
    case ChildEnd::Signaled: {
        std::string text = "parse of " + file + " ended the process: signal " +
                           std::to_string(run.signal);
#if !defined(_WIN32)
        if (const char* name = strsignal(run.signal)) text += std::string(" (") + name + ")";
#endif
        return text;
    }
    case ChildEnd::CouldNotStart:
        return "parse of " + file + " could not be started in a child process";
    case ChildEnd::Exited:
        break;
    }
    return "parse of " + file + " ended with status " + std::to_string(run.exitStatus);
}

}  // namespace Parsers::Cli
