// domparse_bench: the library's parse side by side with two peer parsers, its
// stages on their own, its scaling with size and depth, and its memory.
//
//   domparse_bench [--corpus DIR] [--seconds N] [--smoke] [--only SECTIONS]
//
// Every document of the corpus folder is loaded into memory once. Each is
// first parsed once in a child process: documents whose parse ends the
// process (the fault of a finished tree without body) or fails are listed and
// left out, and all timing runs over the rest, for the peers as well. A
// measurement runs its workload in rounds over the documents until it has
// spent the given seconds, and reports the median round; the workloads of one
// table take turns, so that a slow spell of a shared machine falls on all.
// Throughput is input bytes over time, in MB/s of 10^6 bytes.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bounds.h"
#include "child_process.h"
#include "corpus.h"
#include "domparse.h"
#include "measure.h"
#include "parsers.h"
#include "report.h"
#include "stages.h"

namespace Parsers::Bench {

namespace {

const char kUsage[] =
    "usage: domparse_bench [--corpus DIR] [--seconds N] [--smoke] [--only SECTIONS]\n"
    "                      [--parsers NAMES]\n"
    "\n"
    "  --corpus DIR     folder of documents (*.html, *.htm); default ../shared/corpus\n"
    "  --seconds N      timed seconds per measurement (default 3)\n"
    "  --smoke          one round of everything on small inputs, for a quick check\n"
    "  --only SECTIONS  comma-separated: corpus, stages, bounds, scaling, deep, big\n"
    "  --parsers NAMES  comma-separated parsers of the corpus table: domparse,\n"
    "                   libxml2, gumbo (default all; domparse alone suits a profiler)\n";

const std::set<std::string> kSections{"corpus", "stages", "bounds", "scaling", "deep", "big"};
const std::set<std::string> kParsers{"domparse", "libxml2", "gumbo"};

struct Options {
    std::string corpus = "../shared/corpus";
    double seconds = 3.0;
    bool smoke = false;
    std::set<std::string> sections = kSections;
    std::set<std::string> parsers = kParsers;
};

// Sizes of the generated inputs: the full run, and the smoke check's.
struct Sizes {
    std::size_t scalingBase;               // the first size of the scaling series
    std::vector<std::size_t> depths;       // nesting depths
    std::size_t bigDocument;               // the large document
    std::size_t minimumRounds;
    // The least time DOM_Parse is timed for at each nesting depth: the
    // check of linear growth divides two medians, and the median of three
    // parses of 16 ms moves by a third on a shared machine.
    double nestingSeconds;
    ChildLimits limits;                    // of one child process
};

// A child gets at most this much address space: gumbo's memory grows with
// the square of the depth of unclosed elements, and the machine is shared.
constexpr unsigned long long kChildAddressSpace = 6ull << 30;

Sizes sizesFor(const Options& options)
{
    if (options.smoke) return Sizes{64000, {1000, 3000}, 1000000, 1, 0.0, {60, kChildAddressSpace}};
    return Sizes{1000000, {10000, 100000, 1000000}, 50000000, 3, 2.0, {300, kChildAddressSpace}};
}

// What became of a child that did not finish, with its time.
std::string childFate(const ChildOutcome& outcome)
{
    std::string fate = outcome.describe();
    fate += " after ";
    fate += fixed(outcome.seconds, 1);
    fate += " s";
    if (outcome.end == ChildOutcome::End::Signalled || outcome.end == ChildOutcome::End::Failed) {
        fate += " (address space limit ";
        fate += std::to_string(kChildAddressSpace >> 30);
        fate += " GB)";
    }
    return fate;
}

// The names of a comma-separated list, each one of `known`.
std::set<std::string> parseNames(const std::string& list, const std::set<std::string>& known)
{
    std::set<std::string> names;
    std::stringstream stream(list);
    std::string name;
    while (std::getline(stream, name, ',')) {
        if (!known.count(name)) throw std::invalid_argument("unknown name: " + name);
        names.insert(name);
    }
    return names;
}

Options parseOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc) throw std::invalid_argument(argument + " needs a value");
            return argv[++i];
        };
        if (argument == "--corpus") {
            options.corpus = value();
        } else if (argument == "--seconds") {
            options.seconds = std::stod(value());
            if (!(options.seconds >= 0)) throw std::invalid_argument("--seconds must be 0 or more");
        } else if (argument == "--smoke") {
            options.smoke = true;
        } else if (argument == "--help" || argument == "-h") {
            std::fputs(kUsage, stdout);
            std::exit(0);
        } else if (argument == "--only") {
            options.sections = parseNames(value(), kSections);
        } else if (argument == "--parsers") {
            options.parsers = parseNames(value(), kParsers);
        } else {
            throw std::invalid_argument("unknown argument: " + argument);
        }
    }
    if (options.smoke) options.seconds = 0.0;
    return options;
}

// A parser timed over a set of documents.
class ParserWorkload : public Workload {
public:
    ParserWorkload(Parser& timedParser, const std::vector<CorpusDocument>& corpus, std::string name)
        : parser(timedParser), documents(corpus), workloadName(std::move(name))
    {
    }
    std::string label() const override { return workloadName; }
    std::uint64_t bytesPerRound() const override { return totalBytes(documents); }
    double runRound() override
    {
        double seconds = 0.0;
        for (const auto& document : documents) {
            parser.prepare(document.bytes);
            Clock::time_point start = Clock::now();
            bool parsed = parser.parse(document.bytes);
            seconds += secondsBetween(start, Clock::now());
            if (!parsed) ++failures;
        }
        return seconds;
    }
    std::size_t failures = 0;

private:
    Parser& parser;
    const std::vector<CorpusDocument>& documents;
    std::string workloadName;
};

struct ScreenedDocument {
    const CorpusDocument* document;
    bool timed;
    std::string fate;
    double peakMegabytes;
};

// What the run measured, for the closing table of targets.
struct Results {
    std::optional<double> domparse, libxml2, gumbo;          // corpus MB/s
    std::optional<double> scalingFirst, scalingLast;         // MB/s at 1 and 8 MB
    std::optional<double> shallowSeconds, deepSeconds;       // two nesting depths
    std::size_t shallowDepth = 0, deepDepth = 0;
    std::optional<double> memoryConstant;                    // MB above 8 x input
};

std::string loadAverage()
{
    std::ifstream in("/proc/loadavg");
    std::string one, five, fifteen;
    in >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

// Parses every document once in a child process, measuring the child's peak
// memory, and decides which are timed.
std::vector<ScreenedDocument> screen(const std::vector<CorpusDocument>& documents, ChildLimits limits)
{
    std::vector<ScreenedDocument> screened;
    for (const auto& document : documents) {
        ChildOutcome outcome = runInChild(
            [&] {
                PeakMemory memory;
                std::uint32_t resultCode = parseWithDomParseAndRelease(document.bytes);
                return std::vector<double>{static_cast<double>(resultCode),
                                           memory.peakAboveStartMegabytes()};
            },
            limits);
        ScreenedDocument entry{&document, false, outcome.describe(), 0.0};
        if (outcome.finished()) {
            auto code = static_cast<std::uint32_t>(outcome.values[0]);
            entry.timed = code == DOM_RESULT_OK;
            entry.fate = "result " + std::to_string(code);
            entry.peakMegabytes = outcome.values[1];
        }
        screened.push_back(entry);
    }
    return screened;
}

void printScreening(const std::vector<ScreenedDocument>& screened, std::uint64_t timedBytes)
{
    std::size_t timed = std::count_if(screened.begin(), screened.end(),
                                      [](const ScreenedDocument& entry) { return entry.timed; });
    std::printf("%zu of %zu documents timed (%s); each was parsed once in a child process first.\n",
                timed, screened.size(), megabytes(timedBytes).c_str());
    if (timed == screened.size()) return;
    std::printf("Left out, for every parser:\n\n");
    Table table({"document", "bytes", "DOM_Parse in a child process"});
    for (const auto& entry : screened) {
        if (!entry.timed) {
            table.addRow({entry.document->name, grouped(entry.document->bytes.size()), entry.fate});
        }
    }
    table.print();
}

std::string ratioText(double numerator, double denominator)
{
    return denominator > 0 ? fixed(numerator / denominator, 2) + " x" : "-";
}

void measureCorpus(const std::vector<CorpusDocument>& timed, const Options& options,
                   const Sizes& sizes, Results& results)
{
    printHeading("Corpus: whole parses, side by side");
    std::vector<std::unique_ptr<Parser>> parsers;
    for (auto make : {makeDomParseParser, makeLibxml2Parser, makeGumboParser}) {
        std::unique_ptr<Parser> parser = make();
        if (options.parsers.count(parser->name())) parsers.push_back(std::move(parser));
    }
    if (parsers.empty()) return;
    std::vector<std::unique_ptr<ParserWorkload>> workloads;
    std::vector<Workload*> turns;
    for (auto& parser : parsers) {
        workloads.push_back(std::make_unique<ParserWorkload>(*parser, timed, parser->name()));
        turns.push_back(workloads.back().get());
    }
    std::vector<Timing> timings = runByTurns(turns, options.seconds, sizes.minimumRounds);
    std::optional<double> ours;
    if (parsers.front()->name() == "domparse") ours = timings.front().medianMegabytesPerSecond();
    Table table({"parser", "calls", "MB/s (median)", "rounds", "failed parses", "domparse / parser"});
    for (std::size_t i = 0; i < parsers.size(); ++i) {
        double speed = timings[i].medianMegabytesPerSecond();
        table.addRow({parsers[i]->name(), parsers[i]->calls(), fixed(speed),
                      std::to_string(timings[i].rounds.size()), std::to_string(workloads[i]->failures),
                      ours ? ratioText(*ours, speed) : "-"});
        if (parsers[i]->name() == "domparse") results.domparse = speed;
        if (parsers[i]->name() == "libxml2") results.libxml2 = speed;
        if (parsers[i]->name() == "gumbo") results.gumbo = speed;
    }
    table.print();
}

void measureStages(const std::vector<CorpusDocument>& timed, const Options& options, const Sizes& sizes,
                   const Results& results)
{
    printHeading("Stages of DOM_Parse on their own (static core, same documents)");
    std::shared_ptr<DecodedCorpus> decoded = decodeCorpus(timed);
    std::unique_ptr<Workload> decoding = makeDecodingWorkload(timed);
    std::unique_ptr<Workload> tokenizing = makeTokenizingWorkload(decoded);
    std::unique_ptr<Workload> tree = makeTreeWorkload(decoded);
    std::unique_ptr<ImageWorkload> image = makeImageWorkload(decoded);
    std::size_t matching = image->imagesMatchingDomParse(timed);
    std::vector<Timing> timings = runByTurns({decoding.get(), tokenizing.get(), tree.get(), image.get()},
                                             options.seconds, sizes.minimumRounds);
    Table table({"stage", "MB/s (median)", "ms per corpus pass", "rounds"});
    for (const auto& timing : timings) {
        table.addRow({timing.label, fixed(timing.medianMegabytesPerSecond()),
                      fixed(timing.medianSeconds() * 1e3), std::to_string(timing.rounds.size())});
    }
    // The tree constructor's own share: the tree stage less the tokenizer.
    double treeAlone = timings[2].medianSeconds() - timings[1].medianSeconds();
    double bytes = static_cast<double>(timings[0].bytesPerRound);
    table.addRow({"tree construction alone (difference)",
                  treeAlone > 0 ? fixed(megabytesPerSecond(bytes, treeAlone)) : "-", fixed(treeAlone * 1e3),
                  "-"});
    double sum = timings[0].medianSeconds() + timings[2].medianSeconds() + timings[3].medianSeconds();
    table.addRow({"decode + tree + image (sum of stages)", fixed(megabytesPerSecond(bytes, sum)),
                  fixed(sum * 1e3), "-"});
    if (results.domparse) {
        table.addRow({"DOM_Parse (from the corpus table)", fixed(*results.domparse),
                      fixed(bytes / 1e6 / *results.domparse * 1e3), "-"});
    }
    table.print();
    std::printf("\nImages written through the stages equal DOM_Parse's for %zu of %zu documents.\n",
                matching, timed.size());
}

void measureBounds(const std::vector<CorpusDocument>& timed, const Options& options, const Sizes& sizes)
{
    printHeading("Bounds: simple passes over the same bytes");
    std::unique_ptr<Workload> scan = makeLessThanScanWorkload(timed);
    std::unique_ptr<Workload> validation = makeUtf8ValidationWorkload(timed);
    std::unique_ptr<Workload> naive = makeNaiveUtf16Workload(timed);
    std::vector<Timing> timings =
        runByTurns({scan.get(), validation.get(), naive.get()}, options.seconds, sizes.minimumRounds);
    Table table({"pass", "MB/s (median)", "rounds"});
    for (const auto& timing : timings) {
        table.addRow({timing.label, fixed(timing.medianMegabytesPerSecond(), 0),
                      std::to_string(timing.rounds.size())});
    }
    table.print();
}

// The block of pages that the scaling series and the large document repeat.
std::vector<std::uint8_t> scalingBlock(const std::vector<CorpusDocument>& timed, const Sizes& sizes)
{
    return makeBlock(timed, sizes.scalingBase / 4);
}

void measureScaling(const std::vector<CorpusDocument>& timed, const Options& options, const Sizes& sizes,
                    Results& results)
{
    printHeading("Scaling: one block of pages repeated");
    std::vector<std::uint8_t> block = scalingBlock(timed, sizes);
    if (block.empty()) {
        std::printf("No UTF-8 document small enough for the block; left out.\n");
        return;
    }
    // The first size is the nearest whole number of blocks to the base.
    std::size_t repeats = std::max<std::size_t>(1, (sizes.scalingBase + block.size() / 2) / block.size());
    std::vector<std::vector<CorpusDocument>> inputs;
    for (std::size_t factor : {1, 2, 4, 8}) {
        inputs.push_back({CorpusDocument{std::to_string(factor), repeatBlock(block, repeats * factor)}});
    }
    // The largest input is parsed once in a child first: a fault would end
    // the benchmark itself.
    ChildOutcome check = runInChild(
        [&] {
            return std::vector<double>{
                static_cast<double>(parseWithDomParseAndRelease(inputs.back()[0].bytes))};
        },
        sizes.limits);
    if (!check.finished() || check.values[0] != DOM_RESULT_OK) {
        std::printf("The largest input does not parse (%s); left out.\n", check.describe().c_str());
        return;
    }
    auto parser = makeDomParseParser();
    std::vector<std::unique_ptr<Workload>> workloads;
    std::vector<Workload*> turns;
    for (auto& input : inputs) {
        workloads.push_back(std::make_unique<ParserWorkload>(
            *parser, input, fixed(static_cast<double>(input[0].bytes.size()) / 1e6, 2) + " MB"));
        turns.push_back(workloads.back().get());
    }
    std::vector<Timing> timings = runByTurns(turns, options.seconds, sizes.minimumRounds);
    std::printf("Block: %s bytes of whole UTF-8 pages; sizes are 1, 2, 4 and 8 times %zu blocks.\n\n",
                grouped(block.size()).c_str(), repeats);
    Table table({"input", "DOM_Parse MB/s (median)", "ms per parse", "rounds", "throughput / first"});
    double first = timings[0].medianMegabytesPerSecond();
    for (const auto& timing : timings) {
        double speed = timing.medianMegabytesPerSecond();
        table.addRow({timing.label, fixed(speed), fixed(timing.medianSeconds() * 1e3, 2),
                      std::to_string(timing.rounds.size()), fixed(first > 0 ? speed / first : 0, 3)});
    }
    table.print();
    results.scalingFirst = first;
    results.scalingLast = timings.back().medianMegabytesPerSecond();
}

// Times `runs` parses (at least `seconds` in all) of an input made in a child
// process, then, when a parse took no more than `depthWalkLimit` seconds,
// parses once more to find the deepest element. The child gives back the
// median time, the runs, its peak memory above its start and the depth (-1
// for none).
ChildOutcome timeInChild(Parser& parser, const std::function<std::vector<std::uint8_t>()>& makeInput,
                         std::size_t runs, double seconds, double depthWalkLimit, ChildLimits limits)
{
    return runInChild(
        [&] {
            PeakMemory memory;
            std::vector<std::uint8_t> input = makeInput();
            std::vector<double> times;
            double total = 0.0;
            while (times.size() < runs || total < seconds) {
                parser.prepare(input);
                Clock::time_point start = Clock::now();
                if (!parser.parse(input)) throw std::runtime_error("no document");
                times.push_back(secondsBetween(start, Clock::now()));
                total += times.back();
            }
            double peak = memory.peakAboveStartMegabytes();
            std::optional<std::size_t> depth;
            if (median(times) <= depthWalkLimit) depth = parser.parseForDepth(input);
            return std::vector<double>{median(times), static_cast<double>(times.size()), peak,
                                       depth ? static_cast<double>(*depth) : -1.0};
        },
        limits);
}

void measureDeepNesting(const Sizes& sizes, Results& results)
{
    printHeading("Deep nesting: unclosed <div> start tags");
    auto domparse = makeDomParseParser();
    auto libxml2 = makeLibxml2Parser();
    auto gumbo = makeGumboParser();
    std::vector<Parser*> parsers{domparse.get(), libxml2.get(), gumbo.get()};
    // A parser that took longer than this per element is not run deeper: its
    // time grows faster than the depth (gumbo's memory grows with its square,
    // and at 100,000 it runs for about a minute into the address space limit).
    constexpr double kDeeperLimitSecondsPerElement = 10e-6;
    // The deepest element is found by one more parse, unless a parse is this slow.
    constexpr double kDepthWalkLimitSeconds = 2.0;
    Table table({"parser", "elements", "input", "time (s, median)", "s per 100,000", "runs",
                 "deepest element", "peak above start"});
    for (Parser* parser : parsers) {
        // Why the next depth is not run, once a depth has shown it to be hopeless.
        std::string skipReason;
        for (std::size_t depth : sizes.depths) {
            std::string elements = grouped(depth);
            std::string input = megabytes(depth * 5);
            if (!skipReason.empty()) {
                table.addRow({parser->name(), elements, input, skipReason, "-", "-", "-", "-"});
                continue;
            }
            bool ours = parser == domparse.get();
            std::size_t runs = ours ? sizes.minimumRounds : 1;
            double leastSeconds = ours ? sizes.nestingSeconds : 0.0;
            ChildOutcome outcome = timeInChild(
                *parser, [depth] { return nestedDivs(depth); }, runs, leastSeconds,
                kDepthWalkLimitSeconds, sizes.limits);
            if (!outcome.finished()) {
                table.addRow({parser->name(), elements, input, childFate(outcome), "-", "-", "-", "-"});
                skipReason = "not run: the depth before did not finish";
                continue;
            }
            double seconds = outcome.values[0];
            double perElement = seconds / static_cast<double>(depth);
            if (perElement > kDeeperLimitSecondsPerElement) {
                skipReason = "not run: " + fixed(perElement * 1e6, 0) + " us per element at " + elements;
            }
            double deepest = outcome.values[3];
            std::string deepestText =
                deepest < 0 ? "-" : grouped(static_cast<unsigned long long>(deepest));
            table.addRow({parser->name(), elements, input, fixed(seconds, 3),
                          fixed(seconds * 100000.0 / static_cast<double>(depth), 3),
                          fixed(outcome.values[1], 0), deepestText, fixed(outcome.values[2]) + " MB"});
            if (ours && depth == sizes.depths[sizes.depths.size() - 2]) {
                results.shallowSeconds = seconds;
                results.shallowDepth = depth;
            }
            if (ours && depth == sizes.depths.back()) {
                results.deepSeconds = seconds;
                results.deepDepth = depth;
            }
        }
    }
    table.print();
    std::printf("\nThe deepest element counts the parser's own wrappers: libxml2 and gumbo keep html and\n"
                "body above the divs, DOM_Parse lifts the body's content to the top.\n");
}

void measureBigDocument(const std::vector<CorpusDocument>& timed, const Options& options, const Sizes& sizes)
{
    printHeading("A large document: the block of pages repeated");
    std::vector<std::uint8_t> block = scalingBlock(timed, sizes);
    if (block.empty()) {
        std::printf("No UTF-8 document small enough for the block; left out.\n");
        return;
    }
    std::size_t repeats = (sizes.bigDocument + block.size() - 1) / block.size();
    std::size_t size = block.size() * repeats;
    auto domparse = makeDomParseParser();
    auto libxml2 = makeLibxml2Parser();
    auto gumbo = makeGumboParser();
    Table table({"parser", "input", "time (s, median)", "MB/s", "runs", "peak above start",
                 "peak / input"});
    for (Parser* parser : {domparse.get(), libxml2.get(), gumbo.get()}) {
        bool ours = parser == domparse.get();
        ChildOutcome outcome = timeInChild(
            *parser, [&] { return repeatBlock(block, repeats); }, ours ? sizes.minimumRounds : 1,
            ours ? options.seconds : 0.0, -1.0, sizes.limits);
        if (!outcome.finished()) {
            table.addRow({parser->name(), megabytes(size), childFate(outcome), "-", "-", "-", "-"});
            continue;
        }
        double seconds = outcome.values[0];
        double peak = outcome.values[2];
        double inputMegabytes = static_cast<double>(size) / 1e6;
        table.addRow({parser->name(), megabytes(size), fixed(seconds, 3), fixed(inputMegabytes / seconds),
                      fixed(outcome.values[1], 0), fixed(peak) + " MB",
                      fixed(peak / inputMegabytes, 2) + " x"});
    }
    table.print();
    std::printf("\nPeak above start counts the input itself, made in the child before the parse.\n");
}

void summarizeMemory(const std::vector<ScreenedDocument>& screened, Results& results)
{
    printHeading("Memory of DOM_Parse per corpus document (measured in the screening children)");
    // The smallest constant C with peak <= 8 x input + C for every timed
    // document, and the document that needs it.
    double constant = -1e300;
    const ScreenedDocument* worst = nullptr;
    const ScreenedDocument* largest = nullptr;
    double totalPeak = 0.0;
    std::uint64_t totalInput = 0;
    for (const auto& entry : screened) {
        if (!entry.timed) continue;
        double input = static_cast<double>(entry.document->bytes.size()) / 1e6;
        double needed = entry.peakMegabytes - 8 * input;
        if (needed > constant) {
            constant = needed;
            worst = &entry;
        }
        if (!largest || entry.document->bytes.size() > largest->document->bytes.size()) largest = &entry;
        totalPeak += entry.peakMegabytes;
        totalInput += entry.document->bytes.size();
    }
    if (!worst) return;
    Table table({"figure", "value"});
    double largestInput = static_cast<double>(largest->document->bytes.size()) / 1e6;
    table.addRow({"peak above start <= 8 x input + C holds with C",
                  fixed(constant, 2) + " MB (" + worst->document->name + ")"});
    table.addRow({"largest document: input, peak, peak / input",
                  largest->document->name + ": " + megabytes(largest->document->bytes.size()) + ", " +
                      fixed(largest->peakMegabytes) + " MB, " +
                      fixed(largest->peakMegabytes / largestInput, 2) + " x"});
    table.addRow({"sum of peaks / sum of inputs",
                  fixed(totalPeak / (static_cast<double>(totalInput) / 1e6), 2) + " x"});
    table.addRow({"peak resident memory of this benchmark process", fixed(processPeakMegabytes()) + " MB"});
    table.print();
    std::printf("\nA child's peak counts the writable copy of the input that DOM_Parse is given\n"
                "and the block of the image; the child releases the block without copying it.\n");
    results.memoryConstant = constant;
}

std::string yesNo(bool met)
{
    return met ? "yes" : "no";
}

void printTargets(const Results& results, bool smoke)
{
    printHeading("Targets");
    if (smoke) std::printf("(smoke check: small inputs and one round, not the sizes the targets name)\n\n");
    Table table({"target", "measured", "met"});
    if (results.domparse && results.libxml2 && results.gumbo) {
        double overLibxml2 = *results.domparse / *results.libxml2;
        double overGumbo = *results.domparse / *results.gumbo;
        table.addRow({"DOM_Parse >= 1.5 x libxml2 on the corpus", fixed(overLibxml2, 2) + " x",
                      yesNo(overLibxml2 >= 1.5)});
        table.addRow({"DOM_Parse >= 5 x gumbo on the corpus", fixed(overGumbo, 2) + " x",
                      yesNo(overGumbo >= 5)});
        table.addRow({"stretch: DOM_Parse >= 3 x libxml2", fixed(overLibxml2, 2) + " x",
                      yesNo(overLibxml2 >= 3)});
    }
    if (results.scalingFirst && results.scalingLast) {
        double ratio = *results.scalingLast / *results.scalingFirst;
        table.addRow({"throughput at 8 x within 10 % of 1 x", fixed(ratio, 3), yesNo(ratio >= 0.9)});
    }
    if (results.shallowSeconds && results.deepSeconds && results.deepDepth > results.shallowDepth) {
        double per100k = *results.deepSeconds * 100000.0 / static_cast<double>(results.deepDepth);
        double growth = *results.deepSeconds / *results.shallowSeconds;
        double sizeGrowth =
            static_cast<double>(results.deepDepth) / static_cast<double>(results.shallowDepth);
        // Linear: the time grows no faster than 1.5 times the size.
        bool met = per100k < 0.5 && growth <= 1.5 * sizeGrowth;
        table.addRow({grouped(results.deepDepth) + " nested: linear, well under 1 s per 100,000",
                      fixed(per100k, 3) + " s per 100,000; time x" + fixed(growth, 1) + " for size x" +
                          fixed(sizeGrowth, 0),
                      yesNo(met)});
    }
    if (results.memoryConstant) {
        table.addRow({"corpus: peak <= 8 x input + small constant (4 MB)",
                      "C = " + fixed(*results.memoryConstant, 2) + " MB",
                      yesNo(*results.memoryConstant <= 4.0)});
    }
    table.print();
}

int run(const Options& options)
{
    Sizes sizes = sizesFor(options);
    std::vector<CorpusDocument> documents = loadCorpus(options.corpus);
    if (documents.empty()) throw std::runtime_error("no documents (*.html, *.htm) in " + options.corpus);
    if (!blockFunctionsAreTheLibrarys()) {
        throw std::runtime_error("the block functions this program calls are not libdomparse.so's");
    }
    std::printf("# domparse benchmark%s\n\n", options.smoke ? " (smoke check: one round, small inputs)" : "");
    long cores = ::sysconf(_SC_NPROCESSORS_ONLN);
    std::printf("Corpus %s: %zu documents, %s. Library version %u. %ld cores, load average %s "
                "at the start.\n",
                options.corpus.c_str(), documents.size(), megabytes(totalBytes(documents)).c_str(),
                DOM_GetVersion(), cores, loadAverage().c_str());
    std::printf("Core compiled %s.\n", DOMPARSE_BENCH_CORE_BUILD);
    std::printf("%s s timed per measurement; figures are medians of rounds; MB = 10^6 bytes.\n",
                fixed(options.seconds, 1).c_str());

    std::vector<ScreenedDocument> screened = screen(documents, sizes.limits);
    std::vector<CorpusDocument> timed;
    for (const auto& entry : screened) {
        if (entry.timed) timed.push_back(*entry.document);
    }
    printScreening(screened, totalBytes(timed));
    if (timed.empty()) throw std::runtime_error("no document parses");

    Results results;
    if (options.sections.count("corpus")) measureCorpus(timed, options, sizes, results);
    if (options.sections.count("stages")) measureStages(timed, options, sizes, results);
    if (options.sections.count("bounds")) measureBounds(timed, options, sizes);
    if (options.sections.count("scaling")) measureScaling(timed, options, sizes, results);
    if (options.sections.count("deep")) measureDeepNesting(sizes, results);
    if (options.sections.count("big")) measureBigDocument(timed, options, sizes);
    summarizeMemory(screened, results);
    printTargets(results, options.smoke);
    return 0;
}

}  // namespace
}  // namespace Parsers::Bench

int main(int argc, char** argv)
{
    Parsers::Bench::Options options;
    try {
        options = Parsers::Bench::parseOptions(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "domparse_bench: %s\n%s", error.what(), Parsers::Bench::kUsage);
        return 64;
    }
    try {
        return Parsers::Bench::run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "domparse_bench: %s\n", error.what());
        return 1;
    }
}
