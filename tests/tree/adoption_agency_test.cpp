// The adoption agency and the list of active formatting elements under case
// folding parsing: what the list and the stack hold after the start and end
// tags of formatting elements. The trees themselves are checked end to end in
// tests/mode1.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::stackNames;
using Testing::TreeFeed;
using Testing::TreeRun;
using Codes = std::vector<std::uint32_t>;

// The list as names, markers as "|".
std::string describe(const ActiveFormattingList& list)
{
    std::string out;
    for (const NodeRef& entry : list.entries) {
        if (!out.empty()) out += " ";
        out += isFormattingMarker(*entry) ? "|" : Testing::escapeText(entry->getNodeName());
    }
    return out;
}

TEST(FormattingLimit, FourEqualStartTagsLeaveThreeEntriesAndFourElements)
{
    TreeRun run(u"<b class=x><b class=x><b class=x><b class=x>", 1);
    ASSERT_TRUE(run.runToEnd());
    const TreeConstructor& tree = *run.constructor;
    EXPECT_EQ(describe(tree.activeFormatting), "b b b");
    EXPECT_EQ(stackNames(tree), "(html) body b b b b");
    // The first b left the list; the three newest stand in it in their order.
    EXPECT_EQ(tree.activeFormatting.entries[0], tree.openElements[3]);
    EXPECT_EQ(tree.activeFormatting.entries[2], tree.openElements[5]);
}

TEST(FormattingLimit, ElementsBeforeTheMarkerDoNotCount)
{
    TreeRun run(u"<b><b><b><object><b>", 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(describe(run.constructor->activeFormatting), "b b b | b");
}

TEST(FormattingLimit, DifferentValuesAreDifferentElements)
{
    TreeRun run(u"<i title=a><i title=A><i title=a><i title=a>", 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.constructor->activeFormatting.size(), 4u);
}

TEST(AdoptionAgency, NewElementStaysOpenButNeverEntersTheList)
{
    TreeFeed feed(1);
    feed.start(u"b");
    feed.start(u"p");
    feed.text(u"x");
    // Called directly, as the b end tag calls it.
    TreeConstructor& tree = *feed.constructor;
    const NodeRef oldB = tree.openElements[2];
    auto end = Testing::makeTag(TokenType::EndTag, u"b");
    tree.runAdoptionAgency(end);
    EXPECT_EQ(describe(tree.activeFormatting), "");
    // The second pass found no b on the list and the walk popped the new b.
    EXPECT_EQ(stackNames(tree), "(html) body p");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{196});
    EXPECT_EQ(oldB->children.size(), 0u);
    EXPECT_FALSE(end->ignored);
}

TEST(AdoptionAgency, PassesTakeTheEntriesOfTheTagNewestFirst)
{
    // Two entries of the tag: the first pass takes the newer one, the second
    // the older one, and the third finds none and pops the newest clone.
    TreeFeed feed(1);
    feed.start(u"b", {{u"id", u"1"}});
    feed.start(u"b", {{u"id", u"2"}});
    feed.start(u"div");
    feed.end(u"b");
    TreeConstructor& tree = *feed.constructor;
    EXPECT_EQ(describe(tree.activeFormatting), "");
    EXPECT_EQ(stackNames(tree), "(html) body div b");
    EXPECT_EQ(feed.errors->treeCodes(), (Codes{196, 196}));
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n  <head> ns=0\n  <body> ns=0\n    <b> ns=0\n      id=\"1\"\n"
              "      <b> ns=0\n        id=\"2\"\n    <div> ns=0\n      <b> ns=0\n"
              "        id=\"1\"\n        <b> ns=0\n          id=\"2\"\n");
}

TEST(AdoptionAgency, InnerLoopClonesTakeTheirEntriesPlacesInListAndStack)
{
    TreeRun run(u"<a><b><i><u><s><p>x</a>", 1);
    ASSERT_TRUE(run.runToEnd());
    const TreeConstructor& tree = *run.constructor;
    EXPECT_EQ(describe(tree.activeFormatting), "b i u s");
    EXPECT_EQ(stackNames(tree), "(html) body b i u s p");
    // b was never reached and is the element made by its start tag; i, u and s
    // are the clones, the same objects on the list and on the stack.
    for (std::size_t position = 0; position < 4; ++position) {
        EXPECT_EQ(tree.activeFormatting.entries[position], tree.openElements[position + 2]);
    }
    // The clone of i hangs in the body; the old b keeps the old i.
    const Node* body = tree.openElements[1].get();
    EXPECT_EQ(tree.openElements[3]->parent, body);
    EXPECT_EQ(tree.openElements[2]->children.size(), 1u);
    EXPECT_NE(tree.openElements[2]->children[0], tree.openElements[3]);
}

TEST(AdoptionAgency, EndTagBehindAMarkerLeavesTheOuterEntryAlone)
{
    TreeRun run(u"<b><object></b>", 1);
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(describe(run.constructor->activeFormatting), "b |");
    EXPECT_EQ(stackNames(*run.constructor), "(html) body b object");
    EXPECT_EQ(run.errors->treeCodes(), (Codes{150, 124}));
}

TEST(AdoptionAgency, ClosedElementOnlyLeavesTheList)
{
    TreeFeed feed(1);
    feed.start(u"p");
    feed.start(u"b");
    feed.end(u"p");
    EXPECT_EQ(describe(feed.constructor->activeFormatting), "b");
    TagTokenRef end = feed.end(u"b");
    EXPECT_EQ(describe(feed.constructor->activeFormatting), "");
    EXPECT_FALSE(end->ignored);
    EXPECT_EQ(feed.errors->treeCodes(), (Codes{141, 194}));
}

TEST(AdoptionAgency, ElementOutOfScopeIsIgnoredAndStaysListed)
{
    TreeFeed feed(1);
    feed.start(u"b");
    feed.start(u"applet");
    // applet set a marker; without it the b would be found behind it. A
    // second b after the marker and a barrier above that one:
    feed.start(u"b");
    feed.start(u"marquee");
    feed.constructor->activeFormatting.entries.pop_back();  // the marquee's marker
    TagTokenRef end = feed.end(u"b");
    EXPECT_TRUE(end->ignored);
    EXPECT_EQ(describe(feed.constructor->activeFormatting), "b | b");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{195});
}

TEST(AdoptionAgency, WithoutFurthestBlockFAndAllAboveArePopped)
{
    TreeFeed feed(1);
    feed.start(u"b");
    feed.start(u"i");
    feed.start(u"span");
    feed.end(u"b");
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body");
    EXPECT_EQ(describe(feed.constructor->activeFormatting), "i");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{196});
}

TEST(AdoptionAgency, EightPassesLeaveTheNinthEntry)
{
    std::u16string text;
    for (char16_t digit = u'1'; digit <= u'9'; ++digit) {
        text += u"<b id=";
        text += digit;
        text += u"><div>";
    }
    text += u"</b>";
    TreeRun run(text, 1);
    ASSERT_TRUE(run.runToEnd());
    const TreeConstructor& tree = *run.constructor;
    ASSERT_EQ(describe(tree.activeFormatting), "b");
    // The one left is the first b, still open under the body.
    EXPECT_EQ(tree.activeFormatting.entries[0], tree.openElements[2]);
    EXPECT_EQ(tree.openElements[2]->parent, tree.openElements[1].get());
    EXPECT_EQ(run.errors->treeCodes(), (Codes{196, 196, 196, 196, 196, 196, 196, 196, 124}));
}

}  // namespace
}  // namespace Parsers
