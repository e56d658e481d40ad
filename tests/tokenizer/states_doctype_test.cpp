// Doctype states: names, keywords, identifiers, quirks and every report.
#include <gtest/gtest.h>

#include "tokenizer_run.h"

namespace Parsers::Testing {
namespace {

using DoctypeStates = TokenizerTest;

TEST_F(DoctypeStates, NameIsFoldedInEveryMode)
{
    EXPECT_EQ(tokenize(u"<!doctype HTML>"), (Events{"<!DOCTYPE html>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DoCtYpE HtMl>", kCaseFoldingMode), (Events{"<!DOCTYPE html>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE \u00C4X>"), (Events{"<!DOCTYPE \\u00C4x>", "EOF"}));
}

TEST_F(DoctypeStates, KeywordsAreFoundWhateverTheirCase)
{
    // The unit behind the keyword goes with it, so the quote comes straight
    // after the keyword state and is reported.
    EXPECT_EQ(tokenize(u"<!DocType x PUBLIC \"a\">"),
              (Events{"E78", "<!DOCTYPE x public=\"a\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE html SYSTEM 'y'>"),
              (Events{"E97", "<!DOCTYPE html system=\"y\">", "EOF"}));
}

TEST_F(DoctypeStates, FullDoctypeWithTwoSpacesAfterTheKeyword)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE html PUBLIC  \"-//x\"\n'y.dtd'>"),
              (Events{"<!DOCTYPE html public=\"-//x\" system=\"y.dtd\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE html system  \"s\" >"),
              (Events{"<!DOCTYPE html system=\"s\">", "EOF"}));
}

TEST_F(DoctypeStates, KeywordSwallowsAGreaterThanSign)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE html PUBLIC>"),
              (Events{"E77", "<!DOCTYPE html quirks>", "\">\"", "EOF"}));
}

TEST_F(DoctypeStates, KeywordNeedsSixUnitsAfterItsFirstLetter)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE html PUBLI>"),
              (Events{"E76 char 'P'", "<!DOCTYPE html quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE html public"),
              (Events{"E76 char 'p'", "<!DOCTYPE html quirks>", "\"c\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE html publicX"),
              (Events{"E77", "<!DOCTYPE html quirks>", "\"X\"", "EOF"}));
}

TEST_F(DoctypeStates, OtherWordAfterTheName)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE html foo>"),
              (Events{"E76 char 'f'", "<!DOCTYPE html quirks>", "EOF"}));
}

TEST_F(DoctypeStates, DoctypeWithoutSpaceOrName)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPEhtml>"), (Events{"E70 char 'h'", "<!DOCTYPE html>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE>"),
              (Events{"E70 char '>'", "E73", "<!DOCTYPE  quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE  >"), (Events{"E73", "<!DOCTYPE  quirks>", "EOF"}));
}

TEST_F(DoctypeStates, NameRows)
{
    EXPECT_EQ(tokenize(std::u16string(u"<!DOCTYPE \0a\0>", 14)),
              (Events{"E72", "E74", "<!DOCTYPE \\uFFFDa\\uFFFD>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a-1.B >"), (Events{"<!DOCTYPE a-1.b>", "EOF"}));
}

TEST_F(DoctypeStates, EndOfInputInTheNameStates)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE"), (Events{"E69", "<!DOCTYPE  quirks>", "\"E\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE "), (Events{"E71", "<!DOCTYPE  quirks>", "\" \"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE ab"), (Events{"E75", "<!DOCTYPE ab quirks>", "\"b\"", "EOF"}));
    // After the name the name's own code is used again.
    EXPECT_EQ(tokenize(u"<!DOCTYPE ab "), (Events{"E75", "<!DOCTYPE ab quirks>", "\" \"", "EOF"}));
}

TEST_F(DoctypeStates, AfterPublicKeywordRows)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC 'p'>"),
              (Events{"E79", "<!DOCTYPE a public=\"p\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC >"),
              (Events{"E80", "<!DOCTYPE a quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC x>"),
              (Events{"E81 char 'x'", "<!DOCTYPE a quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  x>"),
              (Events{"E83 char 'x'", "<!DOCTYPE a quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  >"),
              (Events{"E84", "<!DOCTYPE a quirks>", "EOF"}));
}

TEST_F(DoctypeStates, PublicIdentifierRows)
{
    EXPECT_EQ(tokenize(std::u16string(u"<!DOCTYPE a PUBLIC  \"p\0q\">", 26)),
              (Events{"E86", "<!DOCTYPE a public=\"p\\uFFFDq\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p>"),
              (Events{"E87", "<!DOCTYPE a public=\"p\" quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  'p\"q'>"),
              (Events{"<!DOCTYPE a public=\"p\\\"q\">", "EOF"}));
}

TEST_F(DoctypeStates, AfterPublicIdentifierRows)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p\"\"s\">"),
              (Events{"E90", "<!DOCTYPE a public=\"p\" system=\"s\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p\"'s'>"),
              (Events{"E91", "<!DOCTYPE a public=\"p\" system=\"s\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p\"x>"),
              (Events{"E89 char 'x'", "<!DOCTYPE a public=\"p\" quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p\" x>"),
              (Events{"E93 char 'x'", "<!DOCTYPE a public=\"p\" quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p\" >"),
              (Events{"<!DOCTYPE a public=\"p\">", "EOF"}));
}

TEST_F(DoctypeStates, SystemKeywordAndIdentifierRows)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM \"s\">"),
              (Events{"E96", "<!DOCTYPE a system=\"s\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM >"), (Events{"E98", "<!DOCTYPE a quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM x>"),
              (Events{"E95 char 'x'", "<!DOCTYPE a quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  x>"),
              (Events{"E100 char 'x'", "<!DOCTYPE a quirks>", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  >"), (Events{"E101", "<!DOCTYPE a quirks>", "EOF"}));
    EXPECT_EQ(tokenize(std::u16string(u"<!DOCTYPE a SYSTEM  's\0'>", 25)),
              (Events{"E103", "<!DOCTYPE a system=\"s\\uFFFD\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  's>"),
              (Events{"E104", "<!DOCTYPE a system=\"s\" quirks>", "EOF"}));
}

TEST_F(DoctypeStates, AfterSystemIdentifierLeavesQuirksAlone)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  \"s\" x>"),
              (Events{"E106 char 'x'", "<!DOCTYPE a system=\"s\">", "EOF"}));
}

TEST_F(DoctypeStates, EmptyIdentifiersCannotBeToldFromAbsentOnes)
{
    TokenizerRun run(u"<!DOCTYPE a PUBLIC  \"\" ''>");
    ASSERT_TRUE(run.runToEnd());
    const auto& doctype = static_cast<const DoctypeToken&>(*run.recorder->tokens.at(0));
    EXPECT_TRUE(doctype.publicId.empty());
    EXPECT_TRUE(doctype.systemId.empty());
    EXPECT_FALSE(doctype.forceQuirks);
}

TEST_F(DoctypeStates, SpacesBeforeEitherIdentifierArePassedOver)
{
    // The keyword takes the first space with it; the next one leads to the state
    // before the identifier (or between the two), which passes over the rest.
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC \t\n \"p\"  \n 's'>"),
              (Events{"<!DOCTYPE a public=\"p\" system=\"s\">", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM   \f 's'>"),
              (Events{"<!DOCTYPE a system=\"s\">", "EOF"}));
}

TEST_F(DoctypeStates, EndOfInputInTheIdentifierStates)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  "),
              (Events{"E82", "<!DOCTYPE a quirks>", "\" \"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p"),
              (Events{"E85", "<!DOCTYPE a public=\"p\" quirks>", "\"p\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p\""),
              (Events{"E88", "<!DOCTYPE a public=\"p\" quirks>", "\"\\\"\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a PUBLIC  \"p\" "),
              (Events{"E92", "<!DOCTYPE a public=\"p\" quirks>", "\" \"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  "),
              (Events{"E99", "<!DOCTYPE a quirks>", "\" \"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  's"),
              (Events{"E102", "<!DOCTYPE a system=\"s\" quirks>", "\"s\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  's' "),
              (Events{"E105", "<!DOCTYPE a system=\"s\" quirks>", "\" \"", "EOF"}));
}

TEST_F(DoctypeStates, EndOfInputAfterTheSystemKeyword)
{
    // "SYSTEM" and the unit behind it are taken, so the text must go on for the
    // keyword state to see its end.
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEMx"),
              (Events{"E94", "<!DOCTYPE a quirks>", "\"x\"", "EOF"}));
}

TEST_F(DoctypeStates, BogusDoctypeEndsWithoutReportOrQuirks)
{
    EXPECT_EQ(tokenize(u"<!DOCTYPE a SYSTEM  \"s\" xy"),
              (Events{"E106 char 'x'", "<!DOCTYPE a system=\"s\">", "\"y\"", "EOF"}));
    EXPECT_EQ(tokenize(u"<!DOCTYPE html x"),
              (Events{"E76 char 'x'", "<!DOCTYPE html quirks>", "\"x\"", "EOF"}));
}

TEST_F(DoctypeStates, PendingDoctypeIsReusedByTheNextDoctype)
{
    TokenizerRun run(u"<!doctype a>");
    run.tokenizer->switchTo(TokenizerState::Doctype);
    const auto pending = run.tokenizer->currentDoctype;
    run.tokenizer->switchTo(TokenizerState::Data);
    ASSERT_TRUE(run.runToEnd());
    ASSERT_EQ(run.recorder->tokens.size(), 2u);
    EXPECT_EQ(run.recorder->tokens[0], pending);
    EXPECT_EQ(run.tokenizer->currentDoctype, nullptr);
}

TEST_F(DoctypeStates, DoctypeKeepsThePositionOfANewToken)
{
    EXPECT_EQ(tokenizeFull(u"\n <!DOCTYPE html>"),
              (Events{"'\\u000A' @1:1", "' ' @1:2", "<!DOCTYPE html> @0:1", "EOF @0:1"}));
}

}  // namespace
}  // namespace Parsers::Testing
