// The ASCII helpers that tokenizer and tree rules share.
#include <gtest/gtest.h>

#include "tokenizer/tokenizer.h"

namespace Parsers {
namespace {

TEST(AsciiFolding, LowerCaseFoldsOnlyAToZ)
{
    EXPECT_EQ(toAsciiLower(u'A'), u'a');
    EXPECT_EQ(toAsciiLower(u'Z'), u'z');
    EXPECT_EQ(toAsciiLower(u'@'), u'@');
    EXPECT_EQ(toAsciiLower(u'['), u'[');
    EXPECT_EQ(toAsciiLower(u'\u00C0'), u'\u00C0');
}

TEST(AsciiFolding, FoldedComparisonFoldsTheFirstTextOnly)
{
    EXPECT_TRUE(equalsFoldedAscii(u"HiDDen", u"hidden"));
    EXPECT_TRUE(equalsFoldedAscii(u"", u""));
    EXPECT_FALSE(equalsFoldedAscii(u"hidden", u"HIDDEN"));
    EXPECT_FALSE(equalsFoldedAscii(u"hidden ", u"hidden"));
    EXPECT_FALSE(equalsFoldedAscii(u"hidde", u"hidden"));
    // Only A to Z fold: the Kelvin sign and a capital with a grave stay as they are.
    EXPECT_FALSE(equalsFoldedAscii(u"\u212Aey", u"key"));
    EXPECT_FALSE(equalsFoldedAscii(u"\u00C0", u"\u00E0"));
}

}  // namespace
}  // namespace Parsers
