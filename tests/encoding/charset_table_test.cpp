// The charset label table: all 90 labels with their code pages, an exact and
// case-sensitive lookup, and the labels that are not in it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "encoding/charset_table.h"

namespace Parsers {
namespace {

struct ExpectedLabel {
    const char* label;
    std::uint32_t codePage;
};

// Every label, grouped by code page.
const ExpectedLabel kLabels[] = {
    {"hz-gb-2312", 0},
    {"dos-720", 720},
    {"dos-862", 862},
    {"windows-874", 874},
    {"csshiftjis", 932}, {"ms_kanji", 932}, {"shift-jis", 932}, {"shift_jis", 932}, {"x-ms-cp932", 932},
    {"x-sjis", 932},
    {"chinese", 936}, {"csgb2312", 936}, {"csiso58gb231280", 936}, {"gb2312", 936}, {"gb_2312-80", 936},
    {"iso-ir-58", 936},
    {"cseuckr", 949}, {"csksc56011987", 949}, {"euc-kr", 949}, {"korean", 949}, {"ks_c_5601", 949},
    {"ks_c_5601-1987", 949}, {"ksc_5601", 949},
    {"big5", 950}, {"csbig5", 950}, {"x-x-big5", 950},
    {"windows-1250", 1250}, {"x-cp1250", 1250},
    {"windows-1251", 1251}, {"x-cp1251", 1251},
    {"ansi_x3.4-1968", 1252}, {"ansi_x3.4-1986", 1252}, {"ascii", 1252}, {"cp367", 1252}, {"cp819", 1252},
    {"csascii", 1252}, {"ibm367", 1252}, {"ibm819", 1252}, {"iso-8859-1", 1252}, {"iso-ir-100", 1252},
    {"iso-ir-6", 1252}, {"iso646-us", 1252}, {"iso8859-1", 1252}, {"iso_646.irv:1991", 1252},
    {"iso_8859-1", 1252}, {"iso_8859-1:1987", 1252}, {"latin1", 1252}, {"us", 1252}, {"us-ascii", 1252},
    {"windows-1252", 1252},
    {"windows-1253", 1253},
    {"windows-1254", 1254},
    {"csisolatinhebrew", 1255}, {"hebrew", 1255}, {"iso-8859-8", 1255}, {"iso-ir-138", 1255},
    {"iso_8859-8", 1255}, {"iso_8859-8:1988", 1255}, {"iso_8859-8i", 1255}, {"windows-1255", 1255},
    {"windows-1256", 1256},
    {"windows-1257", 1257},
    {"windows-1258", 1258},
    {"cskoi8r", 20866}, {"koi8-r", 20866},
    {"csisolatin2", 28592}, {"i2", 28592}, {"iso-8859-2", 28592}, {"iso-ir-101", 28592},
    {"iso8859-2", 28592}, {"iso_8859-2", 28592}, {"iso_8859-2:1987", 28592}, {"latin2", 28592},
    {"iso-8859-4", 28594},
    {"iso-8859-5", 28595},
    {"iso-8859-7", 28597},
    {"iso-8859-9", 28599},
    {"csiso2022jp", 50220}, {"iso-2022-jp", 50220},
    {"csiso2022kr", 50225}, {"iso_2022-kr", 50225},
    {"cseucpkdfmtjapanese", 51932}, {"euc-jp", 51932},
    {"extended_unix_code_packed_format_for_japanese", 51932}, {"x-euc", 51932}, {"x-euc-jp", 51932},
    {"gb18030", 54936},
    {"unicode-1-1-utf-8", 65001}, {"unicode-2-0-utf-8", 65001}, {"utf-8", 65001},
};

const CharsetRow* lookup(const std::string& key)
{
    return lookupCharsetLabel(key.data(), key.size());
}

TEST(CharsetLabels, EveryLabelFindsItsCodePage)
{
    ASSERT_EQ(std::size(kLabels), 90u);
    for (const ExpectedLabel& expected : kLabels) {
        const CharsetRow* row = lookup(expected.label);
        ASSERT_NE(row, nullptr) << expected.label;
        EXPECT_STREQ(row->label, expected.label);
        EXPECT_EQ(row->codePage, expected.codePage) << expected.label;
        EXPECT_EQ(row->fallback, std::strcmp(expected.label, "gb18030") == 0 ? 936u : 0u) << expected.label;
    }
}

TEST(CharsetLabels, RowsAreNumberedInSortedLabelOrder)
{
    ASSERT_EQ(kCharsetRowCount, 90u);
    std::vector<std::string> sorted;
    for (const ExpectedLabel& expected : kLabels) sorted.emplace_back(expected.label);
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t number = 0; number < kCharsetRowCount; ++number) {
        const CharsetRow* row = charsetRowByNumber(number);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->label, sorted[number]);
        EXPECT_EQ(row->rowNumber, static_cast<std::int64_t>(number));
        EXPECT_EQ(lookup(row->label), row);
    }
    EXPECT_EQ(charsetRowByNumber(90), nullptr);
    EXPECT_STREQ(charsetRowByNumber(0)->label, "ansi_x3.4-1968");
    EXPECT_STREQ(charsetRowByNumber(89)->label, "x-x-big5");
}

TEST(CharsetLabels, UnicodeSixteenIsNoLabel)
{
    for (const char* key : {"utf-16", "utf-16le", "utf-16be", "utf16", "ucs-2", "unicode", "iso-10646-ucs-2"}) {
        EXPECT_EQ(lookup(key), nullptr) << key;
    }
}

TEST(CharsetLabels, LookupIsCaseSensitive)
{
    for (const char* key : {"UTF-8", "Utf-8", "utf-8\xC0", "Windows-1252", "SHIFT_JIS", "GB18030", "US", "Latin1"}) {
        EXPECT_EQ(lookup(key), nullptr) << key;
    }
}

TEST(CharsetLabels, NamesThatAreNoLabels)
{
    for (const char* key : {"windows-1259", "cp1252", "koi8-u", "iso-8859-15", "iso-8859-3", "utf8", "x-user-defined",
                            "windows-1249", "latin3", "big5-hkscs", "euc-jp-ms", "sjis", "gbk", "x-cp1252"}) {
        EXPECT_EQ(lookup(key), nullptr) << key;
    }
    EXPECT_EQ(lookup("windows-1252")->codePage, 1252u);
    EXPECT_EQ(lookup("x-cp1250")->codePage, 1250u);
    EXPECT_EQ(lookup("koi8-r")->codePage, 20866u);
}

TEST(CharsetLabels, LatinHebrewAndTurkishLabelsShareWindowsPages)
{
    for (const char* key : {"iso-8859-1", "latin1", "us-ascii"}) {
        EXPECT_EQ(lookup(key)->codePage, 1252u) << key;
    }
    for (const char* key : {"iso-8859-8", "iso_8859-8i", "hebrew"}) {
        EXPECT_EQ(lookup(key)->codePage, 1255u) << key;
    }
    EXPECT_EQ(lookup("iso-8859-9")->codePage, 28599u);
    EXPECT_EQ(lookup("hz-gb-2312")->codePage, 0u);
    EXPECT_EQ(lookup("gb18030")->codePage, 54936u);
    EXPECT_EQ(lookup("gb18030")->fallback, 936u);
}

TEST(CharsetLabels, StrayBytesAroundALabelMakeItNoLabel)
{
    for (const char* key : {" utf-8", "utf-8 ", "utf-8;", "\"utf-8\"", "utf-", "tf-8", "utf-88", "us ", "i"}) {
        EXPECT_EQ(lookup(key), nullptr) << key;
    }
    // A zero byte inside the key: the label ends at its own zero byte, the key
    // goes on, so there is no match.
    EXPECT_EQ(lookupCharsetLabel("utf-8\0", 6), nullptr);
    EXPECT_EQ(lookupCharsetLabel("us\0\0", 4), nullptr);
}

TEST(CharsetLabels, EveryOneByteChangeOfALabelFindsOnlyAnExactLabel)
{
    for (const ExpectedLabel& expected : kLabels) {
        const std::string label = expected.label;
        for (std::size_t position = 0; position < label.size(); ++position) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string changed = label;
                changed[position] = static_cast<char>(byte);
                const CharsetRow* row = lookup(changed);
                if (row != nullptr) {
                    EXPECT_EQ(changed, row->label);
                }
            }
        }
    }
}

TEST(CharsetLabels, LengthsOutsideTheLabelsAreRefusedWithoutReading)
{
    // Lengths 0, 1 and 46 and up never touch the key.
    EXPECT_EQ(lookupCharsetLabel(nullptr, 0), nullptr);
    EXPECT_EQ(lookupCharsetLabel(nullptr, 1), nullptr);
    EXPECT_EQ(lookupCharsetLabel(nullptr, 46), nullptr);
    EXPECT_EQ(lookupCharsetLabel(nullptr, 1000), nullptr);
    const std::string longest = "extended_unix_code_packed_format_for_japanese";
    ASSERT_EQ(longest.size(), 45u);
    EXPECT_EQ(lookup(longest)->codePage, 51932u);
    EXPECT_EQ(lookup(longest + "x"), nullptr);
    EXPECT_EQ(lookup("us")->codePage, 1252u);
    EXPECT_EQ(lookup("i2")->codePage, 28592u);
}

}  // namespace
}  // namespace Parsers
