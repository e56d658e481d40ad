// domparse: parses files with the library's exported DOM_Parse and prints the
// document image that comes back, after the reader has checked it.
//
// The tool goes through the shared library exactly as any host does: a record,
// a writable copy of the input with padding behind it, and a global memory
// block that it frees itself. Case folding parsing (--mode 1) has no exported
// entry: for it the tool calls the internal entry of the static core, which
// takes the same record and hands back the same kind of block.

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "domparse.h"
#include "domparse_reader.h"
#include "format.h"
#include "library/dom_parse.h"
#include "limited_run.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace Parsers::Cli {

namespace {

// Exit statuses, in the sysexits tradition for the tool's own failures; a
// failed parse exits with 10 + its result code.
constexpr int kExitOk = 0;
constexpr int kExitParseBase = 10;
// Under --limit: a parse still running when its time was up, and a parse
// that ended its process (a fault, an abort).
constexpr int kExitTimedOut = 20;
constexpr int kExitProcessEnded = 21;
constexpr int kExitUsage = 64;
constexpr int kExitNoInput = 66;
constexpr int kExitBadImage = 70;
constexpr int kExitCannotCreate = 73;
constexpr int kExitWriteError = 74;

enum class OutputFormat {
    Tree,
    Json,
    Stats,
    Image,
    Markup,
};

// The parse mode: 2 is what DOM_Parse runs, 1 case folding parsing.
constexpr std::uint32_t kCaseFoldingMode = 1;
constexpr std::uint32_t kCasePreservingMode = 2;

struct Options {
    OutputFormat format = OutputFormat::Tree;
    std::uint32_t mode = kCasePreservingMode;
    bool utf16 = false;
    std::optional<std::string> outputFile;
    std::vector<std::string> files;
    bool help = false;
    bool version = false;
    // Set by --limit: each file is parsed in a child process under it.
    std::optional<ParseLimit> limit;
};

const char kHelp[] =
    "usage: domparse [options] FILE...\n"
    "\n"
    "Parses each FILE (- for standard input) with DOM_Parse and prints the\n"
    "document image it returns. Every FILE is parsed, also after one failed;\n"
    "each failure is told on standard error as \"domparse: FILE: reason\".\n"
    "With several files a line \"domparse: N files, P parsed, F failed\" ends\n"
    "the run on standard error, and while they are parsed a progress line\n"
    "counts them there when standard error is a terminal.\n"
    "\n"
    "options:\n"
    "  --format NAME  tree (default), json, stats, image or markup\n"
    "  --mode N       2 (default): parse with DOM_Parse, case preserving;\n"
    "                 1: case folding parsing through the library's internal\n"
    "                 entry, with html, head and body kept in the tree\n"
    "  --utf16        the input is UTF-16 little-endian text (input kind 1);\n"
    "                 otherwise the library finds out the encoding of the bytes\n"
    "  -o FILE        write the output to FILE instead of standard output\n"
    "  --limit[=S[,M]] parse each FILE in a child process that may run S seconds\n"
    "                 (default 10) and use M megabytes of address space more\n"
    "                 than the tool (default 1024); a parse that does not finish\n"
    "                 or that ends its process is told in words, and the other\n"
    "                 files go on. The value may also follow as the next\n"
    "                 argument. POSIX systems only.\n"
    "  --             every later argument is a FILE, even one starting with -\n"
    "  --version      print the tool's version and the library's (DOM_GetVersion)\n"
    "  -h, --help     print this help\n"
    "  --format=NAME and --mode=N are the same as the forms in two words.\n"
    "\n"
    "formats:\n"
    "  tree   one node per line, indented two spaces per level:\n"
    "           <prefix:name attr=\"value\" p:attr2=\"v\"> [ns=URI] [@p:attr2 ns=URI]\n"
    "           \"text\"\n"
    "           <!--comment-->\n"
    "         [ns=URI] is the element's namespace URI, [@NAME ns=URI] an\n"
    "         attribute's; both are left out when empty. Namespace declarations\n"
    "         are shown as the attributes they are. An empty attribute value is\n"
    "         shown as \"\". Texts, values and names are UTF-8 with the escapes\n"
    "         \\n \\t \\r \\\" \\\\ and \\uXXXX for other control characters, lone\n"
    "         surrogates and non-characters. Lines deeper than 100 levels are\n"
    "         indented as level 100 and start with @DEPTH. With several files\n"
    "         each tree follows a line # FILE.\n"
    "  json   one JSON object per file and line (JSON Lines), in the order of\n"
    "         the files:\n"
    "           {\"file\":...,\"result\":0,\"imageSize\":N,\"nodes\":[...]}\n"
    "         elements {\"name\",\"prefix\",\"tagId\",\"namespaceUri\",\"attributes\":\n"
    "         [{\"name\",\"prefix\",\"namespaceUri\",\"attributeId\",\"value\"}],\"children\"},\n"
    "         texts {\"text\"}, comments {\"comment\"}; absent fields are null.\n"
    "         A file that failed gives {\"file\":...,\"result\":R,\"error\":...}, where\n"
    "         R is the result code of a failed parse, 0 when the library returned\n"
    "         a malformed image, and null when the file could not be read or,\n"
    "         under --limit, its parse did not finish or ended its process.\n"
    "  stats  one line per file: node counts by kind, attributes, strings,\n"
    "         image and input size in bytes, parse time in ms and MB/s\n"
    "  image  the raw image bytes (one FILE only)\n"
    "  markup the parsed document written back as markup text, in UTF-8 and\n"
    "         ended by a line feed; a lone surrogate is written as U+FFFD.\n"
    "         It comes from the parsed tree itself (the library's internal\n"
    "         markup output), not from the image. With several files each\n"
    "         text follows a line # FILE.\n"
    "\n"
    "exit status:\n"
    "  0 every file parsed. 64 usage error, 73 the output file could not be\n"
    "  created: nothing was parsed. When any file failed, the first that\n"
    "  applies of: 66 a file could not be read; 70 the library returned a\n"
    "  malformed image; under --limit, 21 a parse ended its process and 20 a\n"
    "  parse did not finish in time; 10 + the result code of the last failed\n"
    "  parse: 11 bad record, 12 no document, 13 out of memory. 74 the output\n"
    "  could not be written, which comes before all of these.\n";

// UTF-16 text as UTF-8: surrogate pairs are joined, and a lone surrogate,
// which UTF-8 cannot carry, becomes U+FFFD.
std::string utf8Of(const UString& text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t codePoint = text[i];
        const bool high = codePoint >= 0xD800 && codePoint <= 0xDBFF;
        const bool low = codePoint >= 0xDC00 && codePoint <= 0xDFFF;
        if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (text[i + 1] - 0xDC00u);
            ++i;
        } else if (high || low) {
            codePoint = 0xFFFD;
        }
        if (codePoint < 0x80) {
            out += static_cast<char>(codePoint);
        } else if (codePoint < 0x800) {
            out += static_cast<char>(0xC0 | (codePoint >> 6));
            out += static_cast<char>(0x80 | (codePoint & 0x3F));
        } else if (codePoint < 0x10000) {
            out += static_cast<char>(0xE0 | (codePoint >> 12));
            out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (codePoint & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (codePoint >> 18));
            out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (codePoint & 0x3F));
        }
    }
    return out;
}

// A usage error is one line on standard error, pointing at the help.
int usageError(const std::string& message)
{
    std::cerr << "domparse: " << message << " (see domparse --help)\n";
    return kExitUsage;
}

std::optional<OutputFormat> formatNamed(const std::string& name)
{
    if (name == "tree") return OutputFormat::Tree;
    if (name == "json") return OutputFormat::Json;
    if (name == "stats") return OutputFormat::Stats;
    if (name == "image") return OutputFormat::Image;
    if (name == "markup") return OutputFormat::Markup;
    return std::nullopt;
}

// Reads the command line into `options`; returns 0 or the usage exit status.
int parseArguments(int argc, char** argv, Options& options)
{
    // After "--" every argument is a file, even one that starts with '-'.
    bool onlyFiles = false;
    for (int at = 1; at < argc; ++at) {
        const std::string argument = argv[at];
        if (onlyFiles || argument == "-" || argument.empty() || argument[0] != '-') {
            options.files.push_back(argument);
        } else if (argument == "--") {
            onlyFiles = true;
        } else if (argument == "-h" || argument == "--help") {
            options.help = true;
        } else if (argument == "--version") {
            options.version = true;
        } else if (argument == "--utf16") {
            options.utf16 = true;
        } else if (argument == "--mode" || argument.rfind("--mode=", 0) == 0) {
            std::string value;
            if (argument == "--mode") {
                if (++at == argc) return usageError("--mode needs 1 or 2");
                value = argv[at];
            } else {
                value = argument.substr(7);
            }
            if (value == "1") {
                options.mode = kCaseFoldingMode;
            } else if (value == "2") {
                options.mode = kCasePreservingMode;
            } else {
                return usageError("unknown mode '" + value + "'");
            }
        } else if (argument == "--format" || argument.rfind("--format=", 0) == 0) {
            std::string name;
            if (argument == "--format") {
                if (++at == argc) return usageError("--format needs a format name");
                name = argv[at];
            } else {
                name = argument.substr(9);
            }
            const auto format = formatNamed(name);
            if (!format) return usageError("unknown format '" + name + "'");
            options.format = *format;
        } else if (argument == "--limit" || argument.rfind("--limit=", 0) == 0) {
            if (!limitsAvailable()) return usageError("--limit needs a POSIX system");
            std::string value;
            if (argument != "--limit") {
                value = argument.substr(8);
            } else if (at + 1 < argc && parseLimitValue(argv[at + 1])) {
                // A value that follows is taken as the limit: a FILE named
                // like one is given as ./NAME or after "--".
                value = argv[++at];
            }
            options.limit = value.empty() ? std::optional<ParseLimit>(ParseLimit{})
                                          : parseLimitValue(value);
            if (!options.limit) return usageError("--limit takes SECONDS or SECONDS,MEGABYTES");
        } else if (argument == "-o") {
            if (++at == argc) return usageError("-o needs a file name");
            options.outputFile = argv[at];
        } else {
            return usageError("unknown option '" + argument + "'");
        }
    }
    if (options.help || options.version) return kExitOk;
    if (options.files.empty()) return usageError("no input file");
    // Raw images put back to back could not be told apart again.
    if (options.format == OutputFormat::Image && options.files.size() != 1) {
        return usageError("--format image takes exactly one file");
    }
    return kExitOk;
}

// Reads a whole file, or standard input for "-", into `bytes` with room for
// the library's padding behind it. Returns false with errno's text in `error`.
bool readInput(const std::string& file, std::vector<std::uint8_t>& bytes, std::string& error)
{
    // C streams read standard input in binary on the systems the tool builds
    // for, and report errors through errno.
    std::FILE* stream = file == "-" ? stdin : std::fopen(file.c_str(), "rb");
    if (!stream) {
        error = std::strerror(errno);
        return false;
    }
    bytes.clear();
    std::uint8_t chunk[1 << 16];
    std::size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof chunk, stream)) > 0) {
        bytes.insert(bytes.end(), chunk, chunk + got);
    }
    const bool failed = std::ferror(stream) != 0;
    if (failed) error = std::strerror(errno);
    if (stream != stdin) std::fclose(stream);
    return !failed;
}

// Owns the image block that DOM_Parse hands over, so that no path leaks it.
class ImageBlock {
public:
    ImageBlock() = default;
    ImageBlock(const ImageBlock&) = delete;
    ImageBlock& operator=(const ImageBlock&) = delete;
    ~ImageBlock()
    {
        if (address) GlobalUnlock(handle);
        if (handle) GlobalFree(handle);
    }

    HGLOBAL* place() { return &handle; }
    const void* lock()
    {
        if (!address) address = GlobalLock(handle);
        return address;
    }

private:
    HGLOBAL handle = nullptr;
    void* address = nullptr;
};

struct DOMImageCloser {
    void operator()(DOMImage* image) const { DOMImage_Close(image); }
};

bool standardErrorIsTerminal()
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return ::isatty(STDERR_FILENO) != 0;
#endif
}

// A line on standard error that counts the files done, redrawn in place after
// a carriage return, for runs over several files when standard error is a
// terminal (never in a pipe or a log file). It is redrawn at most ten times a
// second, so that printing it never slows down a run over many small files,
// and it is wiped before any other message and at the end. Plain spaces wipe
// it, not a terminal control sequence, so that any terminal shows it right.
class ProgressLine {
public:
    explicit ProgressLine(std::size_t fileCount)
        : total(fileCount), enabled(fileCount > 1 && standardErrorIsTerminal())
    {
    }

    void show(std::size_t done, std::size_t failed)
    {
        if (!enabled) return;
        const auto now = std::chrono::steady_clock::now();
        if (drawn && now - lastDrawn < std::chrono::milliseconds(100)) return;
        std::string text = "domparse: " + std::to_string(done) + "/" + std::to_string(total) +
                           " files";
        if (failed) text += ", " + std::to_string(failed) + " failed";
        const std::size_t length = text.size();
        if (length < shownLength) text.append(shownLength - length, ' ');
        std::cerr << '\r' << text << std::flush;
        shownLength = length;
        drawn = true;
        lastDrawn = now;
    }

    void wipe()
    {
        if (!shownLength) return;
        std::cerr << '\r' << std::string(shownLength, ' ') << '\r' << std::flush;
        shownLength = 0;
        // The next show draws at once, so the line comes back after a message.
        drawn = false;
    }

private:
    std::size_t total;
    bool enabled;
    bool drawn = false;
    std::size_t shownLength = 0;
    std::chrono::steady_clock::time_point lastDrawn;
};

class Tool {
public:
    Tool(const Options& chosen, std::ostream& output) : options(chosen), out(output) {}

    // Parses every file and returns the exit status. Every file is tried even
    // after a failure; an unreadable file outranks a bad image, which outranks
    // a failed parse, since those point at the caller's or the tool's side.
    // A run over several files ends with a summary line on standard error.
    int run()
    {
        std::size_t failed = 0;
        for (std::size_t done = 0; done < options.files.size(); ++done) {
            progress.show(done, failed);
            if (!processFile(options.files[done])) ++failed;
        }
        progress.wipe();
        if (options.files.size() > 1) {
            std::cerr << "domparse: " << options.files.size() << " files, "
                      << options.files.size() - failed << " parsed, " << failed << " failed\n";
        }
        if (unreadable) return kExitNoInput;
        if (badImage) return kExitBadImage;
        if (processEnded) return kExitProcessEnded;
        if (timedOut) return kExitTimedOut;
        if (lastFailedResult) return kExitParseBase + static_cast<int>(lastFailedResult);
        return kExitOk;
    }

private:
    void fail(const std::string& file, const std::string& message)
    {
        progress.wipe();
        std::cerr << "domparse: " << file << ": " << message << '\n';
    }

    // A file that could not be read has no parse result; in JSON it still
    // has its line, so that every file has one.
    void failToRead(const std::string& file, const std::string& message)
    {
        fail(file, message);
        if (options.format == OutputFormat::Json) writeJsonReadFailure(file, message, out);
        unreadable = true;
    }

    // Parses and prints one file; false when it failed in any way.
    bool processFile(const std::string& file)
    {
        return options.limit ? processFileInChild(file) : processFileHere(file);
    }

    // Under --limit the whole work of a file runs in a child process, which
    // tells how it went by its exit status, the tool's own for that one file.
    bool processFileInChild(const std::string& file)
    {
        // Nothing buffered may be written twice, by the child and by the tool.
        out.flush();
        std::cerr.flush();
        const LimitedRun child = runWithLimit(*options.limit, [&] {
            processFileHere(file);
            out.flush();
            return statusOfThisProcess();
        });
        if (child.end == ChildEnd::Exited) return takeStatusOfChild(file, child.exitStatus);
        const std::string message = describeChildEnd(child, file, *options.limit);
        fail(file, message);
        if (options.format == OutputFormat::Json) writeJsonReadFailure(file, message, out);
        if (child.end == ChildEnd::TimedOut) {
            timedOut = true;
        } else {
            processEnded = true;
        }
        return false;
    }

    // The exit status of the one file this process has worked on.
    int statusOfThisProcess() const
    {
        if (unreadable) return kExitNoInput;
        if (badImage) return kExitBadImage;
        if (lastFailedResult) return kExitParseBase + static_cast<int>(lastFailedResult);
        return kExitOk;
    }

    // Takes over what a child found; it has told its failure itself already.
    bool takeStatusOfChild(const std::string& file, int status)
    {
        if (status == kExitOk) return true;
        if (status == kExitNoInput) {
            unreadable = true;
        } else if (status == kExitBadImage) {
            badImage = true;
        } else if (status > kExitParseBase && status < kExitTimedOut) {
            lastFailedResult = static_cast<std::uint32_t>(status - kExitParseBase);
        } else {
            // Something else ended the child, such as a sanitizer's report.
            fail(file, "parse of " + file + " ended the process with status " +
                           std::to_string(status));
            processEnded = true;
        }
        return false;
    }

    bool processFileHere(const std::string& file)
    {
        std::vector<std::uint8_t> input;
        std::string error;
        if (!readInput(file, input, error)) {
            failToRead(file, "cannot read: " + error);
            return false;
        }
        // DOM_Parse takes the size in 32 bits, and the padding must fit too.
        const std::size_t size = input.size();
        if (size > UINT32_MAX - DOM_INPUT_PADDING) {
            failToRead(file, "cannot read: larger than 4 GiB");
            return false;
        }
        // The library rewrites the buffer and looks one unit past the text.
        input.resize(size + DOM_INPUT_PADDING, 0);
        DOM_ParseRecord record{};
        record.version = DOM_RECORD_VERSION;
        record.inputKind = options.utf16 ? DOM_INPUT_UTF16 : DOM_INPUT_BYTES;
        record.result = 0;
        if (options.format == OutputFormat::Markup) {
            return printMarkup(file, input, static_cast<std::uint32_t>(size), record);
        }
        ImageBlock block;
        // Only the library's call is timed: reading and printing are the tool's.
        const auto start = std::chrono::steady_clock::now();
        const std::uint32_t result =
            options.mode == kCaseFoldingMode
                ? parseToImageCaseFolding(input.data(), static_cast<std::uint32_t>(size),
                                          block.place(), &record)
                : DOM_Parse(input.data(), static_cast<std::uint32_t>(size), block.place(), &record);
        const auto stop = std::chrono::steady_clock::now();
        if (result != DOM_RESULT_OK) {
            // The handle is only the caller's on success: nothing to free.
            *block.place() = nullptr;
            fail(file, describeResult(result));
            if (options.format == OutputFormat::Json) {
                writeJsonFailure(file, result, describeResult(result), out);
            }
            lastFailedResult = result;
            return false;
        }
        const ParseMeasure measure{
            size, std::chrono::duration<double, std::milli>(stop - start).count()};
        return printImage(file, block, record.result, measure);
    }

    // Markup has no image behind it: the internal entry parses and writes the
    // finished tree as text, under the chosen mode.
    bool printMarkup(const std::string& file, std::vector<std::uint8_t>& input, std::uint32_t size,
                     DOM_ParseRecord& record)
    {
        UString markup;
        const std::uint32_t result =
            parseToMarkup(input.data(), size, &record, options.mode, markup);
        if (result != DOM_RESULT_OK) {
            fail(file, describeResult(result));
            lastFailedResult = result;
            return false;
        }
        if (options.files.size() > 1) out << "# " << file << '\n';
        out << utf8Of(markup) << '\n';
        return true;
    }

    bool printImage(const std::string& file, ImageBlock& block, std::uint32_t imageSize,
                    const ParseMeasure& measure)
    {
        // The image is checked before anything reads it: a library fault must
        // give a message, not a crash of the tool.
        const void* bytes = block.lock();
        DOMImage* opened = nullptr;
        char message[256];
        if (!bytes || DOMImage_Open(bytes, imageSize, &opened, message, sizeof message) != 0) {
            const std::string error = std::string("the library returned a malformed image: ") +
                                      (bytes ? message : "the block cannot be locked");
            fail(file, error);
            if (options.format == OutputFormat::Json) {
                writeJsonFailure(file, DOM_RESULT_OK, error, out);
            }
            badImage = true;
            return false;
        }
        std::unique_ptr<DOMImage, DOMImageCloser> image(opened);
        switch (options.format) {
        case OutputFormat::Tree:
            if (options.files.size() > 1) out << "# " << file << '\n';
            writeTree(image.get(), out);
            break;
        case OutputFormat::Json:
            writeJson(image.get(), file, out);
            break;
        case OutputFormat::Stats:
            writeStats(image.get(), file, measure, out);
            break;
        case OutputFormat::Image:
            out.write(static_cast<const char*>(bytes), imageSize);
            break;
        case OutputFormat::Markup:
            // Written by printMarkup without an image.
            break;
        }
        return true;
    }

    const Options& options;
    std::ostream& out;
    ProgressLine progress{options.files.size()};
    bool unreadable = false;
    bool badImage = false;
    bool timedOut = false;
    bool processEnded = false;
    std::uint32_t lastFailedResult = 0;
};

int runTool(int argc, char** argv)
{
    Options options;
    if (const int status = parseArguments(argc, argv, options); status != kExitOk) return status;
    if (options.help) {
        std::cout << kHelp;
        return kExitOk;
    }
    if (options.version) {
        std::cout << "domparse " << DOMPARSE_PROJECT_VERSION << " (library version "
                  << DOM_GetVersion() << ")\n";
        return kExitOk;
    }
    std::ofstream file;
    if (options.outputFile) {
        file.open(*options.outputFile, std::ios::binary | std::ios::trunc);
        if (!file) {
            std::cerr << "domparse: " << *options.outputFile << ": cannot create: "
                      << std::strerror(errno) << '\n';
            return kExitCannotCreate;
        }
    }
    std::ostream& out = options.outputFile ? static_cast<std::ostream&>(file) : std::cout;
    const int status = Tool(options, out).run();
    out.flush();
    if (!out) {
        std::cerr << "domparse: cannot write the output\n";
        return kExitWriteError;
    }
    return status;
}

}  // namespace

}  // namespace Parsers::Cli

// The tool writes through C++ streams only, so they need no sync with stdio.
int main(int argc, char** argv)
{
#if defined(_WIN32)
    // Windows opens standard input and output in text mode, which would turn
    // line feeds into CR LF in a raw image and end input at a Ctrl-Z byte.
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    std::ios::sync_with_stdio(false);
    return Parsers::Cli::runTool(argc, argv);
}
