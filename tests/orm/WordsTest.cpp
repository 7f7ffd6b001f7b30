// The spelling of keywords, separators and quotes in SQL statements.
#include <gtest/gtest.h>

#include <string>

#include "orm/words.h"

namespace {

using namespace DatabaseORM;

struct Word {
  const char* name;
  const std::string& actual;
  const char* expected;
};

void PrintTo(const Word& value, std::ostream* out) {
  *out << value.name;
}

class Words : public testing::TestWithParam<Word> {};

TEST_P(Words, HaveTheirExactSpelling) {
  EXPECT_EQ(GetParam().actual, GetParam().expected);
}

std::string NameOfWord(const testing::TestParamInfo<Word>& each) {
  return each.param.name;
}

INSTANTIATE_TEST_SUITE_P(OfStatements, Words,
                         testing::Values(Word{"ListSeparator", list_separator, ", "},
                                         Word{"WordSeparator", word_separator, " "},
                                         Word{"ConditionQuote", condition_quote, "'"},
                                         Word{"TextQuote", text_quote, "\""},
                                         Word{"ElementSeparator", element_separator, "?"},
                                         Word{"NullWord", null_word, "NULL"},
                                         Word{"NullText", null_text, "NULL"}),
                         NameOfWord);

// Hosts use these in CREATE TABLE statements.
INSTANTIATE_TEST_SUITE_P(
    OfDeclarations, Words,
    testing::Values(Word{"OnUpdateNoAction", on_update_no_action, "ON UPDATE NO ACTION"},
                    Word{"OnUpdateRestrict", on_update_restrict, "ON UPDATE RESTRICT"},
                    Word{"OnUpdateSetNull", on_update_set_null, "ON UPDATE SET NULL"},
                    Word{"OnUpdateSetDefault", on_update_set_default, "ON UPDATE SET DEFAULT"},
                    Word{"OnUpdateCascade", on_update_cascade, "ON UPDATE CASCADE"},
                    Word{"OnDeleteNoAction", on_delete_no_action, "ON DELETE NO ACTION"},
                    Word{"OnDeleteRestrict", on_delete_restrict, "ON DELETE RESTRICT"},
                    Word{"OnDeleteSetNull", on_delete_set_null, "ON DELETE SET NULL"},
                    Word{"OnDeleteSetDefault", on_delete_set_default, "ON DELETE SET DEFAULT"},
                    Word{"OnDeleteCascade", on_delete_cascade, "ON DELETE CASCADE"},
                    Word{"PrimaryKey", primary_key, "PRIMARY KEY"},
                    Word{"ForeignKey", foreign_key, "FOREIGN KEY"},
                    Word{"Unique", unique, "UNIQUE"}, Word{"NotNull", not_null, "NOT NULL"},
                    Word{"DefaultValue", default_value, "DEFAULTVALUE"},
                    Word{"AutoIncrement", autoincrement, "AUTOINCREMENT"}),
    NameOfWord);

}  // namespace
