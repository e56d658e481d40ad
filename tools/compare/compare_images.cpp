// domparse_compare: parses every end-to-end case and every corpus document
// with the Linux libdomparse.so and with domparse.dll under Wine, and compares
// the result codes and the images byte for byte.
//
//   domparse_compare --linux-dump PROGRAM --windows-dump PROGRAM.exe
//                    --runner cmake/wine-run.sh --wine-prefix FOLDER
//                    --cases tests/e2e/cases --corpus ../shared/corpus
//                    --work FOLDER [--timeout SECONDS]
//
// The inputs: the end-to-end case files, the inputs of the limits tests, and
// the corpus. Both dump programs (image_dump.cpp) read the same batch of
// inputs and parse them one by one through DOM_Parse, with the same padded,
// writable buffers. An entry that ends the process (the fault of a finished
// tree without a body) is noted, and the program is started again behind it;
// such an entry must end the process on both systems. Listed and not parsed
// are the inputs that by design never return, and the entries whose declared
// encoding is one of the code pages that Wine's kernel32 lacks. The exit
// status is 0 when nothing differs, 1 when something does, and 2 when the
// comparison could not run (a missing corpus among others).

#include <signal.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "batch_format.h"
#include "case_files.h"
#include "encoding/decoding.h"
#include "encoding/prescan.h"
#include "library/source_buffer.h"

namespace Parsers::Compare {
namespace {

namespace fs = std::filesystem;

constexpr int kExitSame = 0;
constexpr int kExitDifferent = 1;
constexpr int kExitCannotRun = 2;

// Code pages that the Windows platform of the comparison (Wine's kernel32)
// does not have: ISO-2022-JP, ISO-2022-KR, EUC-JP and GB18030. A document
// declared in one of them decodes differently by design.
const std::set<std::uint32_t> kPagesWineLacks = {50220, 50225, 51932, 54936};

struct Options {
    std::string linuxDump;
    std::string windowsDump;
    std::string runner;
    std::string winePrefix;
    std::string cases;
    std::string corpus;
    std::string work;
    int timeoutSeconds = 300;
};

std::optional<Options> parseOptions(int argc, char** argv)
{
    Options options;
    const std::map<std::string, std::string*> values = {
        {"--linux-dump", &options.linuxDump}, {"--windows-dump", &options.windowsDump},
        {"--runner", &options.runner},        {"--wine-prefix", &options.winePrefix},
        {"--cases", &options.cases},          {"--corpus", &options.corpus},
        {"--work", &options.work}};
    for (int at = 1; at < argc; ++at) {
        const std::string name = argv[at];
        if (at + 1 == argc) return std::nullopt;
        const std::string value = argv[++at];
        if (name == "--timeout") {
            options.timeoutSeconds = std::stoi(value);
        } else if (const auto found = values.find(name); found != values.end()) {
            *found->second = value;
        } else {
            return std::nullopt;
        }
    }
    for (const auto& [name, value] : values) {
        if (value->empty()) return std::nullopt;
    }
    return options;
}

// ---------------------------------------------------------------- inputs

struct Entry {
    BatchEntry batch;
    bool fromCorpus = false;
};

bool readCorpus(const fs::path& folder, std::vector<Entry>& entries, std::string& error)
{
    std::error_code problem;
    if (!fs::is_directory(folder, problem)) {
        error = "the corpus folder " + folder.string() + " does not exist";
        return false;
    }
    std::vector<fs::path> files;
    for (const auto& item : fs::directory_iterator(folder, problem)) {
        // The manifest describes the documents; it is none of them.
        if (item.is_regular_file() && item.path().filename() != "MANIFEST.tsv") files.push_back(item.path());
    }
    if (problem || files.empty()) {
        error = "the corpus folder " + folder.string() + " holds no documents";
        return false;
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
        Entry entry;
        entry.fromCorpus = true;
        entry.batch.name = "corpus/" + file.filename().string();
        if (!readWholeFile(file.string(), entry.batch.input)) {
            error = file.string() + ": cannot read";
            return false;
        }
        entries.push_back(std::move(entry));
    }
    return true;
}

// The code pages that the library's prescan asks the decoder for, in order.
std::vector<std::uint32_t> requestedPages;

int recordingDecoder(unsigned int codePage, unsigned long flags, const char* bytes, int byteCount, char16_t* out,
                     int capacity)
{
    requestedPages.push_back(codePage);
    return platformMultiByteToWideChar(codePage, flags, bytes, byteCount, out, capacity);
}

bool startsWith(const std::vector<std::uint8_t>& bytes, std::initializer_list<std::uint8_t> prefix)
{
    return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}

// The code page Wine lacks that the input's declaration selects, or 0. Bytes
// with a byte order mark and UTF-16 input are never prescanned by the library.
std::uint32_t pageWineLacks(const BatchEntry& entry)
{
    if (entry.inputKind == 1 || startsWith(entry.input, {0xFF, 0xFE}) || startsWith(entry.input, {0xFE, 0xFF}) ||
        startsWith(entry.input, {0xEF, 0xBB, 0xBF})) {
        return 0;
    }
    std::vector<std::uint8_t> copy(entry.input);
    copy.resize(copy.size() + 4, 0);
    SourceBuffer source;
    source.rawBytes = copy.data();
    source.rawSize = static_cast<std::uint32_t>(entry.input.size());
    source.parseMode = 2;
    requestedPages.clear();
    prescanEncoding(source, recordingDecoder);
    for (std::uint32_t page : requestedPages) {
        if (kPagesWineLacks.count(page)) return page;
    }
    return 0;
}

// The inputs of the limits tests (tests/e2e_limits), which the end-to-end
// suite runs in child processes. Those whose tree ends without a body end the
// process; they are parsed like every other entry and must end it on both
// systems. The others by design never return: a text that ends in "<" stores
// one more "<" at every turn until memory runs out, and a text that ends in an
// attribute name and one space turns forever. They are listed, not run.
struct LimitsInput {
    const char* name;
    std::string bytes;
    std::uint32_t inputKind;
    bool returns;
};

std::vector<LimitsInput> limitsInputs()
{
    return {
        {"html start tag after a doctype", "<!DOCTYPE html><html><p>x</p></html>", 0, true},
        {"closed head after a doctype", "<!DOCTYPE html><head></head><body><p>x</p></body>", 0, true},
        {"closed title after a doctype", "<!DOCTYPE html><title>a</title>", 0, true},
        {"empty UTF-16 input", "", 1, true},
        {"one byte of UTF-16 input", "x", 1, true},
        {"bare little-endian byte order mark", "\xFF\xFE", 0, true},
        {"text ending in \"<\"", "<p>x<", 0, false},
        {"lone \"<\"", "<", 0, false},
        {"text ending in an attribute name and one space", "<p>x<a b ", 0, false},
        {"lone attribute name and one space", "<a b ", 0, false},
    };
}

// ---------------------------------------------------------------- running

// How a dump program's run over the batch went, entry by entry.
struct SideOutcome {
    std::map<std::uint32_t, EntryResult> results;
    std::map<std::uint32_t, std::string> endedTheProcess;  // entry -> how the process ended
};

std::string describeStatus(int status)
{
    if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
    if (WIFEXITED(status)) return "exit status " + std::to_string(WEXITSTATUS(status));
    return "status " + std::to_string(status);
}

std::uintmax_t fileSize(const std::string& path)
{
    std::error_code problem;
    const std::uintmax_t size = fs::file_size(path, problem);
    return problem ? 0 : size;
}

// Starts the program with its output going to the log, and waits for it. The
// process is killed when the results file has not grown for `timeoutSeconds`.
// Returns the wait status, with timedOut set when it was killed.
int runWatched(const std::vector<std::string>& command, const std::string& resultsPath, const std::string& logPath,
               int timeoutSeconds, bool& timedOut)
{
    timedOut = false;
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) {
        // A process group of its own, so that a timeout ends Wine's helpers too.
        setpgid(0, 0);
        std::FILE* log = std::fopen(logPath.c_str(), "ab");
        if (log) {
            dup2(fileno(log), STDOUT_FILENO);
            dup2(fileno(log), STDERR_FILENO);
        }
        std::vector<char*> arguments;
        for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        execvp(arguments[0], arguments.data());
        std::fprintf(stderr, "cannot start %s: %s\n", arguments[0], std::strerror(errno));
        _exit(127);
    }
    setpgid(child, child);
    auto lastProgress = std::chrono::steady_clock::now();
    std::uintmax_t lastSize = fileSize(resultsPath);
    for (;;) {
        int status = 0;
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child) return status;
        if (done < 0 && errno != EINTR) return -1;
        const std::uintmax_t size = fileSize(resultsPath);
        const auto now = std::chrono::steady_clock::now();
        if (size != lastSize) {
            lastSize = size;
            lastProgress = now;
        } else if (now - lastProgress > std::chrono::seconds(timeoutSeconds)) {
            kill(-child, SIGKILL);
            waitpid(child, &status, 0);
            timedOut = true;
            return status;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// Runs the dump program over the whole batch, starting it again behind every
// entry that ended it. Returns false when the program itself failed.
bool runSide(const std::vector<std::string>& prefix, const std::string& batchPath, std::uint32_t entryCount,
             const std::string& resultsPath, const std::string& logPath, int timeoutSeconds, SideOutcome& outcome,
             std::string& error)
{
    std::remove(resultsPath.c_str());
    std::remove(logPath.c_str());
    std::uint32_t first = 0;
    while (first < entryCount) {
        std::vector<std::string> command = prefix;
        command.insert(command.end(), {batchPath, resultsPath, std::to_string(first)});
        bool timedOut = false;
        const int status = runWatched(command, resultsPath, logPath, timeoutSeconds, timedOut);

        std::vector<std::uint8_t> bytes;
        readWholeFile(resultsPath, bytes);
        ResultsFile file = decodeResults(bytes);
        std::uint32_t next = first;
        for (EntryResult& result : file.results) {
            next = std::max(next, result.index + 1);
            outcome.results[result.index] = std::move(result);
        }
        if (next >= entryCount && status == 0 && !timedOut) break;
        // Only the start of an entry without its outcome shows that the entry
        // ended the process; anything else is a failure of the program or of
        // the way it was started.
        const bool entryEndedIt = !file.started.empty() && file.started.back() == next;
        if (!entryEndedIt) {
            error = "the dump program ended with " + describeStatus(status) + " outside a parse; see " + logPath;
            return false;
        }
        // The entry in progress ended the process: note it, go on behind it.
        outcome.endedTheProcess[next] =
            timedOut ? "no result within " + std::to_string(timeoutSeconds) + " s, killed" : describeStatus(status);
        first = next + 1;
        // The results file may end in a record cut short; start it afresh with
        // the complete records, so that the next run appends behind them.
        std::FILE* rewrite = std::fopen(resultsPath.c_str(), "wb");
        if (!rewrite) {
            error = "cannot rewrite " + resultsPath;
            return false;
        }
        for (const auto& [index, result] : outcome.results) {
            for (const std::vector<std::uint8_t>& record : {encodeStart(index), encodeResult(result)}) {
                std::fwrite(record.data(), 1, record.size(), rewrite);
            }
        }
        std::fclose(rewrite);
    }
    return true;
}

// ---------------------------------------------------------------- comparing

std::string describeResult(const EntryResult& result)
{
    return "result " + std::to_string(result.resultCode) + ", record result " + std::to_string(result.recordResult) +
           ", image " + std::to_string(result.image.size()) + " bytes";
}

// Empty when both sides agree, else what differs.
std::string difference(const SideOutcome& linuxSide, const SideOutcome& windowsSide, std::uint32_t index)
{
    const auto linuxEnded = linuxSide.endedTheProcess.find(index);
    const auto windowsEnded = windowsSide.endedTheProcess.find(index);
    const auto linuxResult = linuxSide.results.find(index);
    const auto windowsResult = windowsSide.results.find(index);
    if (linuxEnded != linuxSide.endedTheProcess.end() || windowsEnded != windowsSide.endedTheProcess.end()) {
        if (linuxEnded != linuxSide.endedTheProcess.end() && windowsEnded != windowsSide.endedTheProcess.end()) return "";
        return "Linux: " +
               (linuxEnded != linuxSide.endedTheProcess.end() ? "process ended (" + linuxEnded->second + ")"
                                                          : describeResult(linuxResult->second)) +
               "; Windows: " +
               (windowsEnded != windowsSide.endedTheProcess.end() ? "process ended (" + windowsEnded->second + ")"
                                                              : describeResult(windowsResult->second));
    }
    const EntryResult& left = linuxResult->second;
    const EntryResult& right = windowsResult->second;
    if (left.resultCode == right.resultCode && left.recordResult == right.recordResult && left.image == right.image) {
        return "";
    }
    std::string text = "Linux: " + describeResult(left) + "; Windows: " + describeResult(right);
    const std::size_t common = std::min(left.image.size(), right.image.size());
    const auto mismatch = std::mismatch(left.image.begin(), left.image.begin() + static_cast<std::ptrdiff_t>(common),
                                        right.image.begin());
    if (mismatch.first != left.image.begin() + static_cast<std::ptrdiff_t>(common)) {
        text += "; first different byte at offset " + std::to_string(mismatch.first - left.image.begin());
    }
    return text;
}

int compare(const Options& options)
{
    std::cout << "domparse image comparison: libdomparse.so on Linux against domparse.dll under Wine\n";

    std::string error;
    std::vector<Entry> entries;
    for (CaseInput& input : readCaseFolder(options.cases, error)) {
        Entry entry;
        entry.batch.name = "e2e/" + input.name;
        entry.batch.inputKind = input.inputKind;
        entry.batch.recordVersion = input.recordVersion;
        entry.batch.input = std::move(input.input);
        entries.push_back(std::move(entry));
    }
    if (!error.empty()) {
        std::cout << "FAILED: the end-to-end cases cannot be read: " << error << '\n';
        return kExitCannotRun;
    }
    std::vector<std::string> notReturning;
    for (const LimitsInput& input : limitsInputs()) {
        const std::string name = std::string("e2e_limits/") + input.name;
        if (!input.returns) {
            notReturning.push_back(name);
            continue;
        }
        Entry entry;
        entry.batch.name = name;
        entry.batch.inputKind = input.inputKind;
        entry.batch.input.assign(input.bytes.begin(), input.bytes.end());
        entries.push_back(std::move(entry));
    }
    const std::size_t caseCount = entries.size();
    if (!readCorpus(options.corpus, entries, error)) {
        std::cout << "FAILED: " << error << "; the comparison needs the corpus beside the project\n";
        return kExitCannotRun;
    }

    // Entries declared in a code page Wine lacks are listed, not parsed.
    std::vector<std::pair<std::string, std::uint32_t>> notCompared;
    std::vector<BatchEntry> batch;
    for (Entry& entry : entries) {
        if (const std::uint32_t page = pageWineLacks(entry.batch)) {
            notCompared.emplace_back(entry.batch.name, page);
        } else {
            batch.push_back(std::move(entry.batch));
        }
    }

    std::error_code problem;
    fs::create_directories(options.work, problem);
    const std::string work = fs::absolute(options.work).string();
    const std::string batchPath = work + "/batch.bin";
    {
        const std::vector<std::uint8_t> bytes = encodeBatch(batch);
        std::FILE* file = std::fopen(batchPath.c_str(), "wb");
        if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || std::fclose(file) != 0) {
            std::cout << "FAILED: cannot write " << batchPath << '\n';
            return kExitCannotRun;
        }
    }

    const auto count = static_cast<std::uint32_t>(batch.size());
    SideOutcome linuxSide;
    SideOutcome windowsSide;
    if (!runSide({options.linuxDump}, batchPath, count, work + "/linux.results", work + "/linux.log",
                 options.timeoutSeconds, linuxSide, error) ||
        !runSide({options.runner, options.winePrefix, options.windowsDump}, batchPath, count,
                 work + "/windows.results", work + "/windows.log", options.timeoutSeconds, windowsSide, error)) {
        std::cout << "FAILED: " << error << '\n';
        return kExitCannotRun;
    }

    std::vector<std::pair<std::string, std::string>> differences;
    std::vector<std::string> endedOnBoth;
    std::size_t identicalImages = 0;
    std::size_t identicalFailures = 0;
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::string text = difference(linuxSide, windowsSide, index);
        if (!text.empty()) {
            differences.emplace_back(batch[index].name, text);
        } else if (linuxSide.endedTheProcess.count(index)) {
            endedOnBoth.push_back(batch[index].name + " (Linux: " + linuxSide.endedTheProcess[index] +
                                  "; Windows: " + windowsSide.endedTheProcess[index] + ")");
        } else if (linuxSide.results[index].resultCode == 0) {
            ++identicalImages;
        } else {
            ++identicalFailures;
        }
    }

    std::cout << "  inputs: " << entries.size() + notReturning.size() << " (" << caseCount + notReturning.size()
              << " end-to-end cases, " << entries.size() - caseCount << " corpus documents)\n";
    std::cout << "  parsed on both systems: " << count << "\n";
    std::cout << "  identical images: " << identicalImages << "\n";
    std::cout << "  identical failure results: " << identicalFailures << "\n";
    std::cout << "  ended the process on both systems (a finished tree without a body): " << endedOnBoth.size()
              << "\n";
    for (const std::string& name : endedOnBoth) std::cout << "    " << name << '\n';
    std::cout << "  not run, by design they do not return: " << notReturning.size() << "\n";
    for (const std::string& name : notReturning) std::cout << "    " << name << '\n';
    std::cout << "  not compared, declared in a code page that Wine lacks: " << notCompared.size() << "\n";
    for (const auto& [name, page] : notCompared) std::cout << "    " << name << " (code page " << page << ")\n";
    std::cout << "  differences: " << differences.size() << "\n";
    for (const auto& [name, text] : differences) std::cout << "    DIFFERENT " << name << ": " << text << '\n';

    if (identicalImages == 0) {
        std::cout << "FAILED: no image was compared\n";
        return kExitCannotRun;
    }
    return differences.empty() ? kExitSame : kExitDifferent;
}

}  // namespace
}  // namespace Parsers::Compare

int main(int argc, char** argv)
{
    const auto options = Parsers::Compare::parseOptions(argc, argv);
    if (!options) {
        std::cerr << "usage: domparse_compare --linux-dump PROGRAM --windows-dump PROGRAM.exe --runner SCRIPT\n"
                     "                        --wine-prefix FOLDER --cases FOLDER --corpus FOLDER --work FOLDER\n"
                     "                        [--timeout SECONDS]\n";
        return Parsers::Compare::kExitCannotRun;
    }
    return Parsers::Compare::compare(*options);
}
