#include "child_process.h"

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace Parsers::Bench {

namespace {

bool writeAll(int fd, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t written = ::write(fd, bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

std::string readAll(int fd)
{
    std::string data;
    char chunk[4096];
    for (;;) {
        ssize_t got = ::read(fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        data.append(chunk, static_cast<std::size_t>(got));
    }
    return data;
}

[[noreturn]] void runChild(int fd, const std::function<std::string()>& work, ChildLimits limits)
{
    // The default action of the alarm ends the child: the parent sees SIGALRM.
    ::signal(SIGALRM, SIG_DFL);
    ::alarm(limits.seconds);
    // A peer that runs out of memory under the limit says so on its way out;
    // the outcome tells the parent, and the report stays readable.
    int devNull = ::open("/dev/null", O_WRONLY);
    if (devNull >= 0) ::dup2(devNull, STDERR_FILENO);
    if (limits.addressSpaceBytes != 0) {
        rlimit limit{limits.addressSpaceBytes, limits.addressSpaceBytes};
        ::setrlimit(RLIMIT_AS, &limit);
    }
    try {
        std::string bytes = work();
        ::_exit(writeAll(fd, bytes.data(), bytes.size()) ? 0 : 2);
    } catch (...) {
        ::_exit(3);
    }
}

// A figure such as "VmRSS:" from /proc/self/status, in kilobytes; 0 if absent.
long statusKilobytes(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    std::size_t length = std::strlen(field);
    while (std::getline(status, line)) {
        if (line.compare(0, length, field) == 0) return std::strtol(line.c_str() + length, nullptr, 10);
    }
    return 0;
}

}  // namespace

std::string ChildOutcome::describe() const
{
    switch (end) {
    case End::Finished:
        return "finished";
    case End::Signalled:
        return "fault: signal " + std::to_string(signal) + " (" + ::strsignal(signal) + ")";
    case End::TimedOut:
        return "stopped at the time limit";
    case End::Failed:
        return "failed";
    }
    return "failed";
}

ChildOutcome runInChildForBytes(const std::function<std::string()>& work, ChildLimits limits,
                                std::string& bytes)
{
    ChildOutcome outcome;
    auto start = std::chrono::steady_clock::now();
    bytes.clear();
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0) return outcome;
    // Whatever waits in the standard streams' buffers would be written twice.
    std::fflush(stdout);
    std::fflush(stderr);
    pid_t child = ::fork();
    if (child < 0) {
        ::close(pipeEnds[0]);
        ::close(pipeEnds[1]);
        return outcome;
    }
    if (child == 0) {
        ::close(pipeEnds[0]);
        runChild(pipeEnds[1], work, limits);
    }
    ::close(pipeEnds[1]);
    std::string data = readAll(pipeEnds[0]);
    ::close(pipeEnds[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return outcome;
    }
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (WIFSIGNALED(status)) {
        outcome.signal = WTERMSIG(status);
        outcome.end = outcome.signal == SIGALRM ? ChildOutcome::End::TimedOut
                                                : ChildOutcome::End::Signalled;
        return outcome;
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return outcome;
    bytes = std::move(data);
    outcome.end = ChildOutcome::End::Finished;
    return outcome;
}

ChildOutcome runInChild(const std::function<std::vector<double>()>& work, ChildLimits limits)
{
    std::string bytes;
    ChildOutcome outcome = runInChildForBytes(
        [&] {
            std::vector<double> values = work();
            return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double));
        },
        limits, bytes);
    if (!outcome.finished()) return outcome;
    if (bytes.size() % sizeof(double) != 0) {
        outcome.end = ChildOutcome::End::Failed;
        return outcome;
    }
    outcome.values.resize(bytes.size() / sizeof(double));
    std::memcpy(outcome.values.data(), bytes.data(), bytes.size());
    return outcome;
}

PeakMemory::PeakMemory()
{
    ::malloc_trim(0);
    // "5" resets the high-water mark to the present resident size.
    std::ofstream("/proc/self/clear_refs") << "5";
    startKilobytes = statusKilobytes("VmRSS:");
}

double PeakMemory::peakAboveStartMegabytes() const
{
    long peak = statusKilobytes("VmHWM:");
    return peak > startKilobytes ? static_cast<double>(peak - startKilobytes) * 1024 / 1e6 : 0.0;
}

double processPeakMegabytes()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
}

}  // namespace Parsers::Bench
