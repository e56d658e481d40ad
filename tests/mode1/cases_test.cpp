// The case folding cases of tests/mode1/cases/*.dat, one file per topic, each
// run through the internal entry of case folding parsing and compared with its
// expected tree and, where the case lists them, the codes of the tree
// constructor's reports. The format of the files is told in
// support/case_files.h. Every expected tree is derived by hand from the rules
// of case folding parsing.
//
// A case may give its expected document as markup (#markup) instead of an
// image tree or beside it.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "domparse.h"
#include "mode1_support.h"
#include "support/case_files.h"

namespace {

using CaseFiles::Case;

const std::vector<Case>& allCases()
{
    static const std::vector<Case> cases = CaseFiles::loadFolder(
        std::filesystem::path(DOMPARSE_SOURCE_DIR) / "tests" / "mode1" / "cases");
    return cases;
}

class CaseFoldingCases : public ::testing::TestWithParam<Case> {};

TEST_P(CaseFoldingCases, ParsesToTheExpectedTreeAndReports)
{
    const Case& c = GetParam();
    const std::string where = c.where();
    ASSERT_EQ(c.formatError, "") << where;
    const Mode1::Outcome outcome = Mode1::parse(c.input, c.inputKind, c.recordVersion);
    ASSERT_EQ(outcome.result, c.result) << where;
    if (c.result == DOM_RESULT_OK && c.hasTree) {
        EXPECT_EQ(outcome.tree, c.tree) << where;
    }
    if (c.hasMarkup) {
        const Mode1::MarkupOutcome markup = Mode1::parseToMarkup(c.input, c.inputKind);
        ASSERT_EQ(markup.result, c.result) << where;
        EXPECT_EQ(markup.markup, c.markup) << where;
    }
    if (c.hasErrors) {
        EXPECT_EQ(Mode1::codeList(outcome.treeCodes), Mode1::codeList(c.errors)) << where;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, CaseFoldingCases, ::testing::ValuesIn(allCases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             return CaseFiles::testName(info.param);
                         });

}  // namespace
