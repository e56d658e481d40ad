// The table of public identifiers of the doctype rule: exact whole-text lookup,
// the groups, and the committed file against its generator.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tree/quirks_public_ids.h"

namespace Parsers {
namespace {

const QuirksPublicIdRow* lookup(const std::u16string& text)
{
    return lookupQuirksPublicId(text.data(), text.size());
}

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

TEST(QuirksTable, EveryRowIsFoundByItsWholeText)
{
    for (std::uint32_t number = 0; number < kQuirksPublicIdCount; ++number) {
        const QuirksPublicIdRow* row = quirksPublicIdRowByNumber(number);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->number, number);
        const std::u16string text(row->text);
        EXPECT_EQ(text.size(), row->length);
        EXPECT_EQ(lookup(text), row) << number;
    }
    EXPECT_EQ(quirksPublicIdRowByNumber(64), nullptr);
}

TEST(QuirksTable, LongerOrShorterTextsAreNoHit)
{
    for (std::uint32_t number = 0; number < kQuirksPublicIdCount; ++number) {
        const std::u16string text(quirksPublicIdRowByNumber(number)->text);
        EXPECT_EQ(lookup(text + u"en"), nullptr) << number;
        EXPECT_EQ(lookup(text + u"/"), nullptr) << number;
        EXPECT_EQ(lookup(text.substr(0, text.size() - 1)), nullptr) << number;
        std::u16string changed = text;
        changed.back() = u'#';
        EXPECT_EQ(lookup(changed), nullptr) << number;
    }
}

TEST(QuirksTable, LookupWantsTheLowerCasedText)
{
    EXPECT_EQ(lookup(u"-//W3C//DTD HTML 4.01//EN"), nullptr);
    EXPECT_EQ(lookup(u"-//w3c//dtd html 4.01//en")->number, 61);
    EXPECT_EQ(lookup(u"HTML"), nullptr);
    EXPECT_EQ(lookup(u"html")->number, 57);
}

TEST(QuirksTable, UnitsWithTheSameLowByteAreNoHit)
{
    std::u16string text = u"-//w3c//dtd html 4.01//en";
    text[3] = static_cast<char16_t>(0x0100 | u'w');
    EXPECT_EQ(lookup(text), nullptr);
}

TEST(QuirksTable, LengthsOutsideFourToSeventyEightAreNoHit)
{
    EXPECT_EQ(lookup(u"htm"), nullptr);
    EXPECT_EQ(lookup(u""), nullptr);
    const std::u16string longest(quirksPublicIdRowByNumber(36)->text);
    EXPECT_EQ(longest.size(), 78u);
    EXPECT_NE(lookup(longest), nullptr);
    EXPECT_EQ(lookup(longest + u"x"), nullptr);
}

TEST(QuirksTable, GroupsOfTheRows)
{
    int counts[4] = {};
    for (std::uint32_t number = 0; number < kQuirksPublicIdCount; ++number) {
        ++counts[static_cast<int>(quirksPublicIdRowByNumber(number)->group)];
    }
    EXPECT_EQ(counts[static_cast<int>(QuirksRowGroup::Quirks)], 55);
    EXPECT_EQ(counts[static_cast<int>(QuirksRowGroup::QuirksByLength)], 3);
    EXPECT_EQ(counts[static_cast<int>(QuirksRowGroup::QuirksAlways)], 2);
    EXPECT_EQ(counts[static_cast<int>(QuirksRowGroup::Allowed)], 4);
    for (std::uint32_t number : {53u, 56u, 57u}) {
        EXPECT_EQ(quirksPublicIdRowByNumber(number)->group, QuirksRowGroup::QuirksByLength);
    }
    for (std::uint32_t number : {58u, 59u}) {
        EXPECT_EQ(quirksPublicIdRowByNumber(number)->group, QuirksRowGroup::QuirksAlways);
    }
    for (std::uint32_t number : {60u, 61u, 62u, 63u}) {
        EXPECT_EQ(quirksPublicIdRowByNumber(number)->group, QuirksRowGroup::Allowed);
    }
}

TEST(QuirksTable, NamedRowsHaveTheirTexts)
{
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(0)->text),
              u"+//silmaril//dtd html pro v0r11 19970101//");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(33)->text),
              u"-//o'reilly and associates//dtd html 2.0//");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(53)->text),
              u"-//w3o//dtd w3 html strict 3.0//en//");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(55)->text), u"-//webtechs//dtd mozilla html//");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(56)->text),
              u"-/w3c/dtd html 4.0 transitional/en");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(59)->text),
              u"-//w3c//dtd html 4.01 transitional//");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(60)->text), u"-//w3c//dtd html 4.0//en");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(62)->text),
              u"-//w3c//dtd xhtml 1.0 strict//en");
    EXPECT_EQ(std::u16string(quirksPublicIdRowByNumber(63)->text), u"-//w3c//dtd xhtml 1.1//en");
}

TEST(QuirksTable, CommittedFileMatchesTheGenerator)
{
    const std::filesystem::path source = DOMPARSE_SOURCE_DIR;
    std::string pattern = (std::filesystem::temp_directory_path() / "domparse-quirks-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const std::filesystem::path output = pattern;

    const std::string command = "python3 \"" + (source / "tools/gen/gen_quirks.py").string() +
                                "\" --output-dir \"" + output.string() + "\"";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;

    const std::string generated = readFile(output / "quirks_public_ids.cpp");
    EXPECT_FALSE(generated.empty());
    EXPECT_EQ(generated, readFile(source / "src/tree/quirks_public_ids.cpp"));
    std::filesystem::remove_all(output);
}

}  // namespace
}  // namespace Parsers
