// The named reference lookup looks up only the lengths that the shape of the
// names leaves possible. These tests pin that shape on the table and compare
// the lookup with one that tries every length up to the longest name.

#include <gtest/gtest.h>

#include "tokenizer/named_reference_table.h"
#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

class ReferenceLookup : public TokenizerTest {};

TEST_F(ReferenceLookup, EveryNameIsLettersAndDigitsWithAtMostAFinalSemicolon)
{
    for (std::size_t row = 0; row < kNamedReferenceCount; ++row) {
        const NamedReference& reference = namedReferenceRow(row);
        for (std::size_t index = 0; index < reference.length; ++index) {
            const char16_t unit = reference.name[index];
            const bool last = index + 1 == reference.length;
            EXPECT_TRUE(isAsciiAlphanumeric(unit) || (last && unit == u';')) << row;
        }
    }
}

struct Found {
    const NamedReference* row;
    bool sawSemicolon;
    std::uint32_t remaining;
};

// Every length from 2 to the longest name, as far as the text reaches.
Found lookUpEveryLength(std::u16string_view text)
{
    const auto longest = static_cast<std::uint32_t>(
        std::min<std::size_t>(text.size(), kLongestNamedReference));
    Found found{nullptr, false, static_cast<std::uint32_t>(text.size())};
    if (longest < 2) return found;
    for (std::uint32_t length = 2; length <= longest; ++length) {
        if (const NamedReference* row = findNamedReference(text.data(), length)) found.row = row;
        if (text[length - 1] == u';') found.sawSemicolon = true;
    }
    if (found.row) found.remaining -= found.row->length;
    return found;
}

TEST_F(ReferenceLookup, FindsWhatEveryLengthFinds)
{
    const std::u16string texts[] = {
        u"amp;x", u"amp x", u"ampx;", u"notin;x", u"notinx", u"not", u"no", u"n", u"",
        u"AElig;", u"AEligx", u"zz;q", u"a;b;c", u";amp;", u"amp;amp;", u"lt", u"lt;;",
        u"frac12;", u"frac12", u"there4;", u"x=1&amp;y", u"CounterClockwiseContourIntegral;",
        u"CounterClockwiseContourIntegral", u"CounterClockwiseContourIntegral;xyz",
        u"abcdefghijklmnopqrstuvwxyzabcdefghij;",
    };
    for (const std::u16string& text : texts) {
        // The run starts in the data state at the '&', as the reference
        // state finds it.
        TokenizerRun run(u"&" + text);
        run.runSteps(1);
        bool sawSemicolon = false;
        const NamedReference* row = run.tokenizer->lookupNamedReference(sawSemicolon);
        const Found expected = lookUpEveryLength(text);
        EXPECT_EQ(row, expected.row) << describeText(text);
        EXPECT_EQ(sawSemicolon, expected.sawSemicolon) << describeText(text);
        EXPECT_EQ(run.tokenizer->stream->remaining, expected.remaining) << describeText(text);
    }
}

}  // namespace
}  // namespace Parsers::Testing
