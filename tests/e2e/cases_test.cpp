// The end-to-end cases of tests/e2e/cases/*.dat, one file per topic, each case
// run through the exported DOM_Parse and compared with its expected tree. The
// format of the files is told in support/case_files.h.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "e2e_support.h"
#include "support/case_files.h"

namespace {

using CaseFiles::Case;

const std::vector<Case>& allCases()
{
    static const std::vector<Case> cases = CaseFiles::loadFolder(
        std::filesystem::path(DOMPARSE_SOURCE_DIR) / "tests" / "e2e" / "cases");
    return cases;
}

class CaseFilesTest : public ::testing::TestWithParam<Case> {};

TEST_P(CaseFilesTest, ParsesToTheExpectedImage)
{
    const Case& c = GetParam();
    const std::string where = c.where();
    ASSERT_EQ(c.formatError, "") << where;
    const E2e::Outcome outcome = E2e::parse(c.input, c.inputKind, c.recordVersion);
    ASSERT_EQ(outcome.result, c.result) << where;
    if (c.result == DOM_RESULT_OK) {
        EXPECT_EQ(outcome.tree, c.tree) << where;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, CaseFilesTest, ::testing::ValuesIn(allCases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             return CaseFiles::testName(info.param);
                         });

TEST(CaseFilesCoverage, AtLeastOneHundredFiftyCases)
{
    EXPECT_GE(allCases().size(), 150u);
}

}  // namespace
