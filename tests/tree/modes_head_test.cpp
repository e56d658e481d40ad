// The modes before the body: the doctype rule with its quirks, and the rows of
// initial, before html, before head, in head, in head noscript and after head.

#include <gtest/gtest.h>

#include "tree_harness.h"

namespace Parsers {
namespace {

using Testing::makeCommentToken;
using Testing::makeEndOfFile;
using Testing::makeTag;
using Testing::stackNames;
using Testing::TreeFeed;
using Testing::TreeRun;
using Codes = std::vector<std::uint32_t>;

// ---------------------------------------------------------------- doctype

struct DoctypeCase {
    const char16_t* name;
    const char16_t* publicId;
    const char16_t* systemId;
    bool forceQuirks;
    bool reported;
    int quirks;
};

void PrintTo(const DoctypeCase& c, std::ostream* out)
{
    *out << "name=" << Testing::escapeText(c.name) << " public=" << Testing::escapeText(c.publicId)
         << " system=" << Testing::escapeText(c.systemId) << (c.forceQuirks ? " forced" : "");
}

class DoctypeRule : public ::testing::TestWithParam<DoctypeCase> {};

TEST_P(DoctypeRule, ReportsAndSetsQuirks)
{
    const DoctypeCase& c = GetParam();
    TreeFeed feed;
    feed.doctype(c.name, c.publicId, c.systemId, c.forceQuirks);
    EXPECT_EQ(feed.errors->treeCodes(), c.reported ? Codes{197} : Codes{});
    EXPECT_EQ(feed.constructor->document->quirksMode, c.quirks);
    EXPECT_EQ(feed.constructor->insertionMode, InsertionMode::BeforeHtml);
}

constexpr const char16_t* kStrict401 = u"http://www.w3.org/TR/html4/strict.dtd";

INSTANTIATE_TEST_SUITE_P(
    Cases, DoctypeRule,
    ::testing::Values(
        // No identifiers.
        DoctypeCase{u"html", u"", u"", false, false, 0},
        // Names are compared exactly: upper case is another name.
        DoctypeCase{u"HTML", u"", u"", false, true, 2},
        DoctypeCase{u"svg", u"", u"", false, true, 2},
        // No public identifier: any system identifier passes.
        DoctypeCase{u"html", u"", u"about:legacy-compat", false, false, 0},
        DoctypeCase{u"html", u"", u"http://example.com/x.dtd", false, false, 0},
        // The allowed strict doctypes are valid and still give quirks.
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.01//EN", u"", false, false, 2},
        DoctypeCase{u"html", u"-//w3c//dtd HTML 4.01//en", kStrict401, false, false, 2},
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.0//EN", u"http://www.w3.org/TR/REC-html40/strict.dtd",
                    false, false, 2},
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.0//EN", u"", false, false, 2},
        DoctypeCase{u"html", u"-//W3C//DTD XHTML 1.0 Strict//EN",
                    u"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd", false, false, 2},
        DoctypeCase{u"html", u"-//W3C//DTD XHTML 1.1//EN",
                    u"http://www.w3.org/TR/xhtml11/DTD/xhtml11.dtd", false, false, 2},
        // The XHTML rows need their system identifier.
        DoctypeCase{u"html", u"-//W3C//DTD XHTML 1.0 Strict//EN", u"", false, true, 2},
        DoctypeCase{u"html", u"-//W3C//DTD XHTML 1.1//EN", u"", false, true, 2},
        // System identifiers are compared exactly: scheme, case and pairing.
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.01//EN", u"https://www.w3.org/TR/html4/strict.dtd",
                    false, true, 2},
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.01//EN", u"HTTP://WWW.W3.ORG/TR/html4/strict.dtd",
                    false, true, 2},
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.0//EN", kStrict401, false, true, 2},
        // Rows of the other groups are never valid.
        DoctypeCase{u"html", u"-//IETF//DTD HTML//", u"", false, true, 2},
        DoctypeCase{u"html", u"HTML", u"", false, true, 2},
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.01 Frameset//", u"http://x/y.dtd", false, true, 2},
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.01 Transitional//", u"", false, true, 2},
        // A text that only begins with a row is no row.
        DoctypeCase{u"html", u"-//W3C//DTD HTML 4.01 Transitional//EN", u"", false, false, 0},
        DoctypeCase{u"html", u"-//W3C//DTD HTML 3.2//EN", u"", false, false, 0},
        DoctypeCase{u"html", u"-//example//unknown", u"http://example.com/", false, false, 0},
        // IBM's transitional system identifier, in any case, gives quirks.
        DoctypeCase{u"html", u"", u"HTTP://www.ibm.com/data/dtd/v11/IBMXHTML1-transitional.dtd",
                    false, false, 2},
        DoctypeCase{u"html", u"", u"https://www.ibm.com/data/dtd/v11/ibmxhtml1-transitional.dtd",
                    false, false, 0},
        // The tokenizer's force quirks flag.
        DoctypeCase{u"html", u"", u"", true, false, 2}));

TEST(DoctypeInInitial, AddsTheDoctypeToTheDocument)
{
    TreeFeed feed;
    feed.doctype(u"html", u"-//W3C//DTD HTML 4.01//EN", kStrict401);
    EXPECT_EQ(feed.tree(),
              "<!DOCTYPE html \"-//W3C//DTD HTML 4.01//EN\" "
              "\"http://www.w3.org/TR/html4/strict.dtd\">\n");
    EXPECT_EQ(feed.constructor->document->children[0]->namespaceId, NamespaceId::Html);
}

TEST(DoctypeInInitial, ByTheTokenizerDoctypeNamesAreFolded)
{
    TreeRun run(u"<!DOCTYPE HTML><p>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{});
    EXPECT_EQ(run.constructor->document->quirksMode, 0);
}

TEST(DoctypeInInitial, LaterDoctypesAreReportedAndDropped)
{
    TreeFeed feed;
    feed.doctype(u"html");
    feed.doctype(u"html");
    EXPECT_EQ(feed.errors->treeCodes(), Codes{110});
    EXPECT_EQ(feed.constructor->document->children.size(), 1u);
}

// ---------------------------------------------------------------- initial

TEST(InitialMode, CommentGoesToTheDocument)
{
    TreeFeed feed;
    feed.comment(u"a");
    feed.text(u"  ");
    feed.comment(u"b");
    EXPECT_EQ(feed.tree(), "<!-- a -->\n<!-- b -->\n");
    EXPECT_EQ(feed.constructor->insertionMode, InsertionMode::Initial);
}

TEST(InitialMode, EndTagFirstMakesHtmlHeadAndBodyThenTakesTheBodyRules)
{
    TreeRun run(u"</p>x");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.errors->treeCodes(), Codes{150});
    EXPECT_EQ(run.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    \"x\"\n");
    EXPECT_EQ(run.constructor->document->quirksMode, 0);
}

TEST(InitialMode, FirstStartTagUnderCaseFoldingGoesThroughBeforeHtml)
{
    TreeFeed feed(1);
    feed.start(u"p");
    EXPECT_EQ(feed.constructor->document->quirksMode, 2);
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <head> ns=0\n"
              "  <body> ns=0\n"
              "    <p> ns=0\n");
}

TEST(InitialMode, AnotherKindDropsTheToken)
{
    TreeFeed feed(3);
    feed.start(u"p");
    feed.endOfFile();
    EXPECT_EQ(feed.tree(), "");
    EXPECT_EQ(feed.constructor->insertionMode, InsertionMode::Initial);
}

TEST(InitialMode, EndOfFileAloneMakesTheSkeleton)
{
    TreeFeed feed;
    feed.endOfFile();
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n");
    EXPECT_EQ(stackNames(*feed.constructor), "(html) body");
    EXPECT_TRUE(feed.constructor->framesetOk);
    ASSERT_NE(feed.constructor->headElement, nullptr);
    EXPECT_EQ(feed.constructor->headElement->getNodeName(), u"head");
}

// ---------------------------------------------------------------- before html

class StartModes : public ::testing::Test {
protected:
    void dispatch(const TokenRef& token) { tree().dispatchToken(token, false); }
    TreeConstructor& tree() { return *feed.constructor; }
    // html root made, head open, in head.
    void enterInHead()
    {
        tree().createHtmlRoot();
        dispatch(makeTag(TokenType::StartTag, u"head"));
        ASSERT_EQ(tree().insertionMode, InsertionMode::InHead);
    }
    void enterAfterHead()
    {
        enterInHead();
        dispatch(makeTag(TokenType::EndTag, u"head"));
        ASSERT_EQ(tree().insertionMode, InsertionMode::AfterHead);
    }
    Codes codes() { return feed.errors->treeCodes(); }

    TreeFeed feed;
};

TEST_F(StartModes, BeforeHtmlTakesAnHtmlStartTagAsItsElement)
{
    feed.doctype(u"html");
    feed.start(u"html", {{u"lang", u"en"}});
    EXPECT_EQ(tree().insertionMode, InsertionMode::BeforeHead);
    EXPECT_EQ(stackNames(tree()), "html");
    EXPECT_EQ(feed.tree(),
              "<!DOCTYPE html \"\" \"\">\n"
              "<html>\n"
              "  lang=\"en\"\n");
}

TEST_F(StartModes, BeforeHtmlDropsOtherEndTagsAndMarksThem)
{
    feed.doctype(u"html");
    TagTokenRef end = feed.end(u"p");
    EXPECT_TRUE(end->ignored);
    EXPECT_EQ(codes(), Codes{111});
    EXPECT_EQ(tree().insertionMode, InsertionMode::BeforeHtml);
    EXPECT_TRUE(tree().openElements.empty());
}

TEST_F(StartModes, BeforeHtmlPassesBodyBrHeadAndHtmlEndTagsOn)
{
    for (const char16_t* name : {u"body", u"br", u"head", u"html"}) {
        TreeFeed passing;
        passing.doctype(u"html");
        TagTokenRef end = passing.end(name);
        // Not for this mode: br and html are dropped by the body rules' walk,
        // which stops at the special body.
        EXPECT_EQ(end->ignored, end->name == u"br" || end->name == u"html");
        // The head end tag meets the made up head and closes it; the others
        // go on to the body.
        const InsertionMode expected = end->name == u"head" ? InsertionMode::AfterHead
                                                            : InsertionMode::InBody;
        EXPECT_EQ(passing.constructor->insertionMode, expected);
        EXPECT_NE(passing.constructor->document->getHTMLNode(), nullptr);
    }
}

TEST_F(StartModes, BeforeHtmlCommentGoesToTheDocumentAndAnythingElseMakesTheRoot)
{
    feed.doctype(u"html");
    feed.comment(u"c");
    feed.text(u"\n");
    feed.start(u"p");
    EXPECT_EQ(feed.tree(),
              "<!DOCTYPE html \"\" \"\">\n"
              "<!-- c -->\n"
              "<(html)> ns=0\n"
              "  <head>\n"
              "  <body>\n"
              "    <p>\n");
    EXPECT_EQ(codes(), Codes{});
}

TEST_F(StartModes, BeforeHeadRows)
{
    tree().createHtmlRoot();
    dispatch(makeTag(TokenType::EndTag, u"p"));
    EXPECT_EQ(codes(), Codes{113});
    dispatch(std::make_shared<DoctypeToken>());
    EXPECT_EQ(codes(), (Codes{113, 112}));
    dispatch(makeCommentToken(u"c"));
    EXPECT_EQ(tree().insertionMode, InsertionMode::BeforeHead);
    auto head = makeTag(TokenType::StartTag, u"head", {{u"id", u"h"}});
    dispatch(head);
    EXPECT_EQ(tree().insertionMode, InsertionMode::InHead);
    EXPECT_EQ(tree().headElement, tree().currentNode);
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <!-- c -->\n"
              "  <head>\n"
              "    id=\"h\"\n");
}

TEST_F(StartModes, BeforeHeadHtmlStartTagTakesTheBodyRules)
{
    tree().createHtmlRoot();
    dispatch(makeTag(TokenType::StartTag, u"html"));
    // Under case preserving parsing the body rules insert it as written.
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <html>\n");
    EXPECT_EQ(tree().insertionMode, InsertionMode::BeforeHead);
}

TEST_F(StartModes, EndOfFileInBeforeHeadMakesHeadThenBody)
{
    tree().createHtmlRoot();
    dispatch(makeEndOfFile());
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n");
    EXPECT_EQ(tree().insertionMode, InsertionMode::InBody);
    EXPECT_EQ(stackNames(tree()), "(html) body");
    EXPECT_EQ(codes(), Codes{});
}

TEST_F(StartModes, InHeadVoidElementsArePoppedAndAcknowledged)
{
    enterInHead();
    for (const char16_t* name : {u"base", u"basefont", u"bgsound", u"command", u"link", u"meta"}) {
        auto tag = makeTag(TokenType::StartTag, name, {}, true);
        dispatch(tag);
        EXPECT_TRUE(tag->selfClosingAcknowledged);
    }
    auto plain = makeTag(TokenType::StartTag, u"meta");
    dispatch(plain);
    EXPECT_FALSE(plain->selfClosingAcknowledged);
    EXPECT_EQ(stackNames(tree()), "(html) head");
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "    <base>\n"
              "    <basefont>\n"
              "    <bgsound>\n"
              "    <command>\n"
              "    <link>\n"
              "    <meta>\n"
              "    <meta>\n");
}

TEST_F(StartModes, SecondHeadInHeadIsReportedAndChangesNothing)
{
    enterInHead();
    NodeRef head = tree().headElement;
    const std::string before = feed.tree();
    dispatch(makeTag(TokenType::StartTag, u"head"));
    EXPECT_EQ(codes(), Codes{114});
    EXPECT_EQ(tree().headElement, head);
    EXPECT_EQ(feed.tree(), before);
    EXPECT_EQ(tree().insertionMode, InsertionMode::InHead);
}

TEST_F(StartModes, InHeadEndTagsAndOtherTokens)
{
    enterInHead();
    dispatch(makeTag(TokenType::EndTag, u"p"));
    dispatch(std::make_shared<DoctypeToken>());
    dispatch(makeCommentToken(u"c"));
    EXPECT_EQ(codes(), (Codes{115, 116}));
    dispatch(makeTag(TokenType::EndTag, u"head"));
    EXPECT_EQ(tree().insertionMode, InsertionMode::AfterHead);
    EXPECT_EQ(stackNames(tree()), "(html)");
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n    <!-- c -->\n");
}

TEST_F(StartModes, InHeadBodyEndTagClosesHeadAndMakesBody)
{
    enterInHead();
    dispatch(makeTag(TokenType::EndTag, u"body"));
    // The made up body opens; the end tag then walks in the body rules and
    // closes it again.
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n");
    EXPECT_EQ(stackNames(tree()), "(html)");
    EXPECT_EQ(tree().insertionMode, InsertionMode::InBody);
}

TEST_F(StartModes, InHeadNoframesIsAnythingElse)
{
    enterInHead();
    dispatch(makeTag(TokenType::StartTag, u"noframes"));
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n    <noframes>\n");
    EXPECT_EQ(tree().insertionMode, InsertionMode::InBody);
}

TEST_F(StartModes, InHeadCharacters)
{
    enterInHead();
    TextPosition position;
    tree().dispatchCharacter(u' ', &position, 0);
    tree().dispatchCharacter(u'\x0B', &position, 0);
    tree().dispatchCharacter(u'x', &position, 0);
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "    \" \\u000B\"\n"
              "  <body>\n"
              "    \"x\"\n");
    EXPECT_FALSE(tree().framesetOk);
}

TEST_F(StartModes, InHeadNoscriptRows)
{
    enterInHead();
    dispatch(makeTag(TokenType::StartTag, u"noscript"));
    EXPECT_EQ(tree().insertionMode, InsertionMode::InHeadNoscript);
    dispatch(makeTag(TokenType::StartTag, u"link"));
    dispatch(makeTag(TokenType::StartTag, u"head"));
    dispatch(makeTag(TokenType::StartTag, u"noscript"));
    dispatch(makeTag(TokenType::EndTag, u"p"));
    dispatch(std::make_shared<DoctypeToken>());
    dispatch(makeCommentToken(u"c"));
    TextPosition position;
    tree().dispatchCharacter(u'\n', &position, 0);
    EXPECT_EQ(codes(), (Codes{117, 117, 118, 117}));
    EXPECT_EQ(stackNames(tree()), "(html) head noscript");
    dispatch(makeTag(TokenType::EndTag, u"noscript"));
    EXPECT_EQ(tree().insertionMode, InsertionMode::InHead);
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "    <noscript>\n"
              "      <link>\n"
              "      <!-- c -->\n"
              "      \"\\n\"\n");
}

TEST_F(StartModes, InHeadNoscriptTitleLeavesTheNoscript)
{
    enterInHead();
    dispatch(makeTag(TokenType::StartTag, u"noscript"));
    dispatch(makeTag(TokenType::StartTag, u"title"));
    EXPECT_EQ(codes(), Codes{117});
    EXPECT_EQ(stackNames(tree()), "(html) head title");
    EXPECT_EQ(tree().insertionMode, InsertionMode::Text);
    EXPECT_EQ(tree().savedInsertionMode, InsertionMode::InHead);
}

TEST_F(StartModes, InHeadNoscriptTextLeavesNoscriptAndHead)
{
    enterInHead();
    dispatch(makeTag(TokenType::StartTag, u"noscript"));
    TextPosition position;
    tree().dispatchCharacter(u'x', &position, 0);
    EXPECT_EQ(codes(), Codes{117});
    EXPECT_EQ(feed.tree(),
              "<(html)> ns=0\n"
              "  <head>\n"
              "    <noscript>\n"
              "  <body>\n"
              "    \"x\"\n");
}

TEST_F(StartModes, InHeadNoscriptBrEndTagLeavesTheNoscript)
{
    enterInHead();
    dispatch(makeTag(TokenType::StartTag, u"noscript"));
    dispatch(makeTag(TokenType::EndTag, u"br"));
    // 117 here, then the walk of the body rules stops at the special body.
    EXPECT_EQ(codes(), (Codes{117, 150}));
    EXPECT_EQ(stackNames(tree()), "(html) body");
}

TEST_F(StartModes, AfterHeadPutsHeadElementsIntoTheHead)
{
    enterAfterHead();
    auto meta = makeTag(TokenType::StartTag, u"meta", {}, true);
    dispatch(meta);
    EXPECT_EQ(codes(), Codes{119});
    EXPECT_TRUE(meta->selfClosingAcknowledged);
    EXPECT_EQ(stackNames(tree()), "(html)");
    dispatch(makeTag(TokenType::StartTag, u"style"));
    EXPECT_EQ(codes(), (Codes{119, 119}));
    // The head left the stack again; the style stays open for its text.
    EXPECT_EQ(stackNames(tree()), "(html) style");
    EXPECT_EQ(tree().insertionMode, InsertionMode::Text);
    EXPECT_EQ(tree().savedInsertionMode, InsertionMode::AfterHead);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n    <meta>\n    <style>\n");
}

TEST_F(StartModes, AfterHeadCommandIsNoHeadElement)
{
    enterAfterHead();
    dispatch(makeTag(TokenType::StartTag, u"command"));
    EXPECT_EQ(codes(), Codes{});
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n    <command>\n");
}

TEST_F(StartModes, AfterHeadBodyStartTag)
{
    enterAfterHead();
    dispatch(makeTag(TokenType::StartTag, u"body", {{u"class", u"b"}}));
    EXPECT_FALSE(tree().framesetOk);
    EXPECT_EQ(tree().insertionMode, InsertionMode::InBody);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n    class=\"b\"\n");
}

TEST_F(StartModes, AfterHeadRowsThatReportAndDrop)
{
    enterAfterHead();
    dispatch(makeTag(TokenType::StartTag, u"head"));
    dispatch(makeTag(TokenType::EndTag, u"p"));
    dispatch(std::make_shared<DoctypeToken>());
    dispatch(makeCommentToken(u"c"));
    TextPosition position;
    tree().dispatchCharacter(u'\t', &position, 0);
    EXPECT_EQ(codes(), (Codes{120, 121, 122}));
    EXPECT_EQ(tree().insertionMode, InsertionMode::AfterHead);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <!-- c -->\n  \"\\t\"\n");
}

TEST_F(StartModes, AfterHeadFramesetAndEndTagsMakeTheBodyFirst)
{
    enterAfterHead();
    tree().framesetOk = false;
    dispatch(makeTag(TokenType::StartTag, u"frameset"));
    EXPECT_TRUE(tree().framesetOk);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n    <frameset>\n");
    EXPECT_EQ(stackNames(tree()), "(html) body frameset");
}

TEST_F(StartModes, AfterHeadHtmlEndTagMakesTheBodyAndWalks)
{
    enterAfterHead();
    dispatch(makeTag(TokenType::EndTag, u"html"));
    // body is special and no html: report 150, the stack stays.
    EXPECT_EQ(codes(), Codes{150});
    EXPECT_EQ(stackNames(tree()), "(html) body");
}

TEST_F(StartModes, AfterHeadTextMakesTheBody)
{
    enterAfterHead();
    TextPosition position{4, 2};
    tree().dispatchCharacter(u'y', &position, 0);
    EXPECT_EQ(feed.tree(), "<(html)> ns=0\n  <head>\n  <body>\n    \"y\"\n");
    EXPECT_FALSE(tree().framesetOk);
}

TEST_F(StartModes, ScriptInHeadEntersScriptDataByAPlainChange)
{
    TreeRun run(u"");
    TreeConstructor& tree = *run.constructor;
    tree.createHtmlRoot();
    tree.dispatchToken(makeTag(TokenType::StartTag, u"head"), false);
    run.tokenizer->state = TokenizerState::Data;
    run.tokenizer->previousState = TokenizerState::TagName;
    tree.dispatchToken(makeTag(TokenType::StartTag, u"script"), false);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::ScriptData);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::Data);
    EXPECT_EQ(tree.insertionMode, InsertionMode::Text);
    EXPECT_EQ(tree.savedInsertionMode, InsertionMode::InHead);
    EXPECT_EQ(stackNames(tree), "(html) head script");
}

TEST_F(StartModes, TitleAndStyleInHeadSwitchTheTokenizer)
{
    TreeRun run(u"");
    TreeConstructor& tree = *run.constructor;
    tree.createHtmlRoot();
    tree.dispatchToken(makeTag(TokenType::StartTag, u"head"), false);
    tree.dispatchToken(makeTag(TokenType::StartTag, u"title"), false);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::Rcdata);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::Data);
    tree.dispatchToken(makeTag(TokenType::EndTag, u"title"), false);
    EXPECT_EQ(tree.insertionMode, InsertionMode::InHead);
    tree.dispatchToken(makeTag(TokenType::StartTag, u"style"), false);
    EXPECT_EQ(run.tokenizer->state, TokenizerState::Rawtext);
    EXPECT_EQ(run.tokenizer->previousState, TokenizerState::Rcdata);
}

TEST(StartModesFromText, TitleAfterADoctypeIsReadAsText)
{
    // The doctype keeps the insertion modes in charge up to the title, whose
    // content then is text; the head leaves the document with the tidying.
    TreeRun run(u"<!DOCTYPE html><title>a<b>&amp;</title>");
    ASSERT_TRUE(run.runToEnd());
    EXPECT_EQ(run.tree(),
              "<!DOCTYPE html \"\" \"\">\n"
              "<(html)> ns=0\n"
              "  <head>\n"
              "    <title>\n"
              "      \"a<b>&\"\n");
    EXPECT_EQ(run.errors->treeCodes(), Codes{152});
}

}  // namespace
}  // namespace Parsers
