// Runs of text units taken by the tree constructor in one call: where it takes
// them, and that the tree and the frameset-ok flag come out as with one unit
// at a time.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::TreeFeed;
using Testing::TreeRun;

std::string body(const TreeFeed& feed)
{
    NodeRef bodyNode = feed.constructor->document->getBODYNode();
    return bodyNode ? Testing::dump(*bodyNode) : "(no body)";
}

TEST(CharacterRuns, RefusedBeforeTheFirstElementFromATag)
{
    TreeFeed feed;
    EXPECT_FALSE(feed.constructor->acceptsCharacterRun());
    feed.doctype(u"html");
    EXPECT_FALSE(feed.constructor->acceptsCharacterRun());
    feed.start(u"p");
    EXPECT_TRUE(feed.constructor->acceptsCharacterRun());
}

TEST(CharacterRuns, RefusedUnderTheHtmlRootAndAtHtmlIntegrationPoints)
{
    TreeFeed feed(1);
    feed.start(u"html");
    EXPECT_FALSE(feed.constructor->acceptsCharacterRun());
    feed.start(u"body");
    EXPECT_FALSE(feed.constructor->acceptsCharacterRun());
    feed.start(u"svg");
    EXPECT_TRUE(feed.constructor->acceptsCharacterRun());
    feed.start(u"desc");
    EXPECT_FALSE(feed.constructor->acceptsCharacterRun());
}

TEST(CharacterRuns, RunGivesTheTreeOfSingleUnits)
{
    const std::u16string text(u"a\0 b\0\0\n", 7);
    TreeFeed units;
    units.start(u"p");
    units.text(u"x");
    units.start(u"q");
    units.text(text);
    TreeFeed runs;
    runs.start(u"p");
    runs.constructor->processCharacterRun(u"x", 1);
    runs.start(u"q");
    runs.constructor->processCharacterRun(text.data(), static_cast<std::uint32_t>(text.size()));
    EXPECT_EQ(body(runs), body(units));
    EXPECT_EQ(body(runs), "<p>\n  \"x\"\n  <q>\n    \"a\\uFFFD b\\uFFFD\\uFFFD\\n\"\n");
}

TEST(CharacterRuns, RunExtendsTheTextBeforeIt)
{
    TreeFeed feed;
    feed.start(u"p");
    feed.text(u"ab");
    feed.constructor->processCharacterRun(u"cd", 2);
    EXPECT_EQ(body(feed), "<p>\n  \"abcd\"\n");
}

TEST(CharacterRuns, SpacesAndNulsKeepFramesetOkAndAnythingElseClearsIt)
{
    TreeFeed feed;
    feed.start(u"p");
    feed.constructor->framesetOk = true;
    const std::u16string spaces(u" \t\n\f\r\0", 6);
    feed.constructor->processCharacterRun(spaces.data(), 6);
    EXPECT_TRUE(feed.constructor->framesetOk);
    feed.constructor->processCharacterRun(u"  \x0B ", 4);
    EXPECT_FALSE(feed.constructor->framesetOk);
}

TEST(CharacterRuns, ParseWithRunsKeepsEveryReport)
{
    // Text before the first tag goes unit by unit through the insertion
    // modes, the rest in runs; the reports are those of the rules.
    TreeRun run(u"a b<p>c d</q>e");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(Testing::dump(*run.constructor->document),
              "<(html)> ns=0\n  <head>\n  <body>\n    \"a b\"\n    <p>\n      \"c de\"\n");
    EXPECT_EQ(run.errors->treeCodes(), (std::vector<std::uint32_t>{193, 150}));
}

}  // namespace
}  // namespace Parsers
