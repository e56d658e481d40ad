// Texts held in one pointer: empty, kept by address, or copied.

#include "dom/compact_text.h"

#include <gtest/gtest.h>

namespace Parsers {
namespace {

TEST(CompactText, IsEmptyUntilGivenAndEmptyAgainWhenCleared)
{
    CompactText text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(&text.str(), &sharedEmptyString());
    text = u"svg";
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.str(), u"svg");
    EXPECT_EQ(std::u16string_view(text), u"svg");
    text = u"xlink";
    EXPECT_EQ(text, u"xlink");
    EXPECT_EQ(text.size(), 5u);
    text = u"";
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(&text.str(), &sharedEmptyString());
    const UString constant = u"kept";
    text.refer(constant);
    EXPECT_EQ(&text.str(), &constant);
    text = u"copied";
    EXPECT_EQ(constant, u"kept");
    EXPECT_EQ(text, u"copied");
    text.refer(UString());
    EXPECT_TRUE(text.empty());
}

TEST(CompactText, ReferredTellsTheKeptAddressOnly)
{
    CompactText text;
    EXPECT_EQ(text.referred(), nullptr);
    const UString constant = u"kept";
    text.refer(constant);
    EXPECT_EQ(text.referred(), &constant);
    text = u"copied";
    EXPECT_EQ(text.referred(), nullptr);
}

TEST(CompactText, CopiesKeepTheAddressOrCopyTheirOwn)
{
    const UString constant = u"kept";
    CompactText referring;
    referring.refer(constant);
    CompactText copied;
    copied = u"own";
    const CompactText first(referring);
    EXPECT_EQ(first.referred(), &constant);
    CompactText second(copied);
    EXPECT_TRUE(second.isCopy());
    EXPECT_NE(&second.str(), &copied.str());
    EXPECT_EQ(second, u"own");
    second = referring;
    EXPECT_EQ(second.referred(), &constant);
    second = copied;
    EXPECT_EQ(second, u"own");
    CompactText moved(std::move(second));
    EXPECT_EQ(moved, u"own");
    EXPECT_TRUE(second.empty());
}

}  // namespace
}  // namespace Parsers
