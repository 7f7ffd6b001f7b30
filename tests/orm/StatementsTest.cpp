// Runs the cases of the files in statements/.
#include <gtest/gtest.h>

#include <cctype>

#include "tests/orm/StatementFile.h"

namespace {

class Statements : public testing::TestWithParam<StatementCase> {};

TEST_P(Statements, MatchTheExpectedText) {
  EXPECT_EQ(RunStatementCase(GetParam()), GetParam().expected);
}

std::string NameOfCase(const testing::TestParamInfo<StatementCase>& info) {
  std::string name = info.param.file + "_" + info.param.name;
  for (char& character : name) {
    if (std::isalnum(static_cast<unsigned char>(character)) == 0) character = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Files, Statements, testing::ValuesIn(ReadStatementFiles(STATEMENT_FILES)),
                         NameOfCase);

}  // namespace
