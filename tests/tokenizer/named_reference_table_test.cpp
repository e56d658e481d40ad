// The named character reference table: its size and sort column, the exact-match
// lookup (every name, no prefix, no case folding, whole 16-bit units), the
// expansions this library replaces or leaves out, and that the committed table
// is what the generator makes from the committed list.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tokenizer/named_reference_table.h"

namespace {

using Parsers::findNamedReference;
using Parsers::kFirstIndexWithoutSemicolon;
using Parsers::kNamedReferenceCount;
using Parsers::NamedReference;
using Parsers::namedReferenceRow;

const std::filesystem::path kSourceDir = DOMPARSE_SOURCE_DIR;

std::u16string nameOf(const NamedReference& row)
{
    return std::u16string(row.name, row.length);
}

const NamedReference* find(const std::u16string& name)
{
    return findNamedReference(name.data(), name.size());
}

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream.good()) << "cannot open " << path;
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

std::u16string widen(const std::string& ascii)
{
    return std::u16string(ascii.begin(), ascii.end());
}

// Checks the row of a name with one unit of expansion.
void expectExpansion(const std::u16string& name, char16_t unit)
{
    const NamedReference* row = find(name);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(nameOf(*row), name);
    EXPECT_EQ(row->expansionLength, 1);
    EXPECT_EQ(row->expansion[0], unit);
    EXPECT_EQ(row->expansion[1], 0);
}

TEST(NamedReferenceTable, HoldsRowsWithAndWithoutSemicolonOfTheStatedLengths)
{
    EXPECT_EQ(kNamedReferenceCount, 2098u);
    EXPECT_EQ(kFirstIndexWithoutSemicolon, 1992);
    std::size_t withSemicolon = 0;
    std::size_t withoutSemicolon = 0;
    std::size_t shortest = 100;
    std::size_t longest = 0;
    for (std::size_t r = 0; r < kNamedReferenceCount; ++r) {
        const NamedReference& row = namedReferenceRow(r);
        std::u16string name(row.name);  // up to its terminating null
        ASSERT_EQ(name.size(), row.length) << r;
        ASSERT_GE(row.length, 2) << r;
        ASSERT_LE(row.length, 32) << r;
        shortest = std::min<std::size_t>(shortest, row.length);
        longest = std::max<std::size_t>(longest, row.length);
        if (name.back() == u';') {
            ++withSemicolon;
        } else {
            ++withoutSemicolon;
        }
        EXPECT_EQ(name.find(u';'), name.back() == u';' ? name.size() - 1 : std::u16string::npos) << r;
        ASSERT_TRUE(row.expansionLength == 1 || row.expansionLength == 2) << r;
        if (row.expansionLength == 1) {
            EXPECT_EQ(row.expansion[1], 0) << r;
        }
    }
    EXPECT_EQ(withSemicolon, 1992u);
    EXPECT_EQ(withoutSemicolon, 106u);
    EXPECT_EQ(shortest, 2u);
    EXPECT_EQ(longest, 32u);
    expectExpansion(u"CounterClockwiseContourIntegral;", 0x2233);
    EXPECT_EQ(find(u"CounterClockwiseContourIntegral;")->length, 32);
}

TEST(NamedReferenceTable, IndexSortsNamesWithSemicolonFirstThenTheOthersByUnits)
{
    std::vector<const NamedReference*> byIndex(kNamedReferenceCount, nullptr);
    for (std::size_t r = 0; r < kNamedReferenceCount; ++r) {
        const NamedReference& row = namedReferenceRow(r);
        ASSERT_LT(row.index, kNamedReferenceCount) << r;
        ASSERT_EQ(byIndex[row.index], nullptr) << "index " << row.index << " given twice";
        byIndex[row.index] = &row;
        bool hasSemicolon = row.name[row.length - 1] == u';';
        EXPECT_EQ(row.index < kFirstIndexWithoutSemicolon, hasSemicolon) << r;
    }
    // Within each group the names ascend by 16-bit units.
    for (std::size_t i = 1; i < kNamedReferenceCount; ++i) {
        if (i == kFirstIndexWithoutSemicolon) continue;
        EXPECT_LT(nameOf(*byIndex[i - 1]), nameOf(*byIndex[i])) << "index " << i;
    }
    EXPECT_EQ(nameOf(*byIndex[0]), u"AElig;");
    EXPECT_EQ(nameOf(*byIndex[1991]), u"zwnj;");
    EXPECT_EQ(nameOf(*byIndex[1992]), u"AElig");
    EXPECT_EQ(nameOf(*byIndex[1993]), u"AMP");
    EXPECT_EQ(nameOf(*byIndex[2097]), u"yuml");
}

TEST(NamedReferenceTable, FindsEveryRowByItsOwnName)
{
    for (std::size_t r = 0; r < kNamedReferenceCount; ++r) {
        const NamedReference& row = namedReferenceRow(r);
        EXPECT_EQ(findNamedReference(row.name, row.length), &row) << r;
    }
}

TEST(NamedReferenceTable, FindsNoProperPrefixThatIsNotItselfAName)
{
    std::set<std::u16string> names;
    for (std::size_t r = 0; r < kNamedReferenceCount; ++r) names.insert(nameOf(namedReferenceRow(r)));
    std::size_t prefixesThatAreNames = 0;
    for (const std::u16string& name : names) {
        for (std::size_t length = 1; length < name.size(); ++length) {
            const NamedReference* row = findNamedReference(name.data(), length);
            if (names.count(name.substr(0, length))) {
                ASSERT_NE(row, nullptr) << length;
                EXPECT_EQ(nameOf(*row), name.substr(0, length));
                ++prefixesThatAreNames;
            } else {
                EXPECT_EQ(row, nullptr) << "prefix of length " << length;
            }
        }
    }
    // "not" before "notin;", "amp" before "amp;" and the like exist.
    EXPECT_GT(prefixesThatAreNames, 106u);
    EXPECT_EQ(find(u"noti"), nullptr);
    EXPECT_EQ(find(u"notin"), nullptr);
}

TEST(NamedReferenceTable, ExpandsTheCommonReferences)
{
    expectExpansion(u"amp;", 0x0026);
    expectExpansion(u"amp", 0x0026);
    EXPECT_GE(find(u"amp")->index, kFirstIndexWithoutSemicolon);
    EXPECT_LT(find(u"amp;")->index, kFirstIndexWithoutSemicolon);
    expectExpansion(u"notin;", 0x2209);
    expectExpansion(u"not", 0x00AC);
    EXPECT_GE(find(u"not")->index, kFirstIndexWithoutSemicolon);
    expectExpansion(u"aring", 0x00E5);
    expectExpansion(u"aring;", 0x00E5);
    EXPECT_GE(find(u"aring")->index, kFirstIndexWithoutSemicolon);
    EXPECT_LT(find(u"aring;")->index, kFirstIndexWithoutSemicolon);
    EXPECT_NE(find(u"aring"), find(u"aring;"));
    expectExpansion(u"lt", 0x003C);
    expectExpansion(u"Cfr;", 0x212D);
}

TEST(NamedReferenceTable, KeepsTwoUnitExpansions)
{
    const NamedReference* row = find(u"nvlt;");
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->expansionLength, 2);
    EXPECT_EQ(row->expansion[0], 0x003C);
    EXPECT_EQ(row->expansion[1], 0x20D2);
}

TEST(NamedReferenceTable, ReplacesBackslashTabAndNewLineExpansions)
{
    expectExpansion(u"bsol;", 0x0022);
    expectExpansion(u"Tab;", 0x2409);
    expectExpansion(u"NewLine;", 0x240A);
}

TEST(NamedReferenceTable, LeavesOutNamesWhoseExpansionIsAboveFFFF)
{
    EXPECT_EQ(find(u"Afr;"), nullptr);
    EXPECT_EQ(find(u"Aopf;"), nullptr);
    EXPECT_EQ(find(u"Ascr;"), nullptr);
    EXPECT_EQ(find(u"zopf;"), nullptr);
    // Their letters with a 16-bit expansion stay.
    expectExpansion(u"Copf;", 0x2102);
    expectExpansion(u"Bscr;", 0x212C);
}

TEST(NamedReferenceTable, MatchesCaseSensitively)
{
    const NamedReference* upper = find(u"AMP;");
    const NamedReference* lower = find(u"amp;");
    ASSERT_NE(upper, nullptr);
    ASSERT_NE(lower, nullptr);
    EXPECT_NE(upper, lower);
    EXPECT_EQ(nameOf(*upper), u"AMP;");
    EXPECT_EQ(find(u"Amp;"), nullptr);
    EXPECT_EQ(find(u"aMP;"), nullptr);
    EXPECT_EQ(find(u"NOTIN;"), nullptr);
}

TEST(NamedReferenceTable, ComparesWholeUnitsNotLowBytes)
{
    // Each has a unit whose low byte is the ASCII unit of "amp;" at that place.
    EXPECT_EQ(find(u"\u0161mp;"), nullptr);
    EXPECT_EQ(find(u"a\u016Dp;"), nullptr);
    EXPECT_EQ(find(u"am\u0170;"), nullptr);
    EXPECT_EQ(find(u"amp\u013B"), nullptr);
    EXPECT_EQ(find(u"\uFF6Ct"), nullptr);
}

TEST(NamedReferenceTable, RefusesLengthsNoNameHasWithoutReadingUnits)
{
    // A null pointer shows that these lengths are refused before any unit is read.
    EXPECT_EQ(findNamedReference(nullptr, 0), nullptr);
    EXPECT_EQ(findNamedReference(nullptr, 1), nullptr);
    EXPECT_EQ(findNamedReference(nullptr, 33), nullptr);
    EXPECT_EQ(findNamedReference(nullptr, 1000), nullptr);
    std::u16string longer = u"CounterClockwiseContourIntegral;;";
    EXPECT_EQ(find(longer), nullptr);
    EXPECT_EQ(find(u"l"), nullptr);
}

// The committed list holds every reference as the source list has it; the table
// takes those with 16-bit expansions and replaces three expansions.
TEST(NamedReferenceTable, AgreesWithTheCommittedList)
{
    std::istringstream list(readFile(kSourceDir / "tools/gen/entities.txt"));
    std::size_t entries = 0;
    std::size_t leftOut = 0;
    std::string line;
    while (std::getline(list, line)) {
        if (line.empty() || line[0] == '#') continue;
        ++entries;
        std::istringstream fields(line);
        std::string name;
        fields >> name;
        std::vector<std::uint32_t> points;
        std::string field;
        while (fields >> field) points.push_back(std::stoul(field.substr(2), nullptr, 16));
        ASSERT_FALSE(points.empty()) << line;
        const NamedReference* row = find(widen(name));
        bool above = false;
        for (std::uint32_t point : points) above = above || point > 0xFFFF;
        if (above) {
            EXPECT_EQ(row, nullptr) << name;
            ++leftOut;
            continue;
        }
        ASSERT_NE(row, nullptr) << name;
        if (name == "bsol;" || name == "Tab;" || name == "NewLine;") continue;
        ASSERT_EQ(row->expansionLength, points.size()) << name;
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_EQ(row->expansion[i], points[i]) << name;
        }
    }
    EXPECT_EQ(entries, 2231u);
    EXPECT_EQ(leftOut, 133u);
    EXPECT_EQ(entries - leftOut, kNamedReferenceCount);
}

TEST(NamedReferenceTable, CommittedFilesAreWhatTheGeneratorMakes)
{
    std::random_device random;
    std::filesystem::path output = std::filesystem::temp_directory_path() /
                                   ("named_references_" + std::to_string(random()));
    std::filesystem::create_directories(output);
    std::string command = "python3 \"" + (kSourceDir / "tools/gen/gen_named_references.py").string() +
                          "\" --output-dir \"" + output.string() + "\"";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    for (const char* file : {"named_reference_table.h", "named_reference_table.cpp"}) {
        std::string generated = readFile(output / file);
        std::string committed = readFile(kSourceDir / "src/tokenizer" / file);
        EXPECT_FALSE(generated.empty()) << file;
        EXPECT_TRUE(generated == committed) << file << " differs from the generator's output";
    }
    std::filesystem::remove_all(output);
}

}  // namespace
