// Keywords, separators and quotes in SQL statements.
#pragma once

#include <string>

#include "models/FieldsMap.h"

namespace DatabaseORM {

// Used in the statements of this layer.
inline const std::string list_separator = ", ";    // between columns and between values
inline const std::string word_separator = " ";     // between words
inline const std::string condition_quote = "'";    // around each value in a condition
inline const std::string text_quote = "\"";        // around each string in INSERT, UPDATE
inline const std::string element_separator = "?";  // between the elements of a list in a cell
inline const std::string null_word = "NULL";       // NULL in a statement or a cell
using RaidDataModels::null_text;                   // NULL in a field

// For the host, to create its tables. Statements of this layer do not use them.
inline const std::string on_update_no_action = "ON UPDATE NO ACTION";
inline const std::string on_update_restrict = "ON UPDATE RESTRICT";
inline const std::string on_update_set_null = "ON UPDATE SET NULL";
inline const std::string on_update_set_default = "ON UPDATE SET DEFAULT";
inline const std::string on_update_cascade = "ON UPDATE CASCADE";
inline const std::string on_delete_no_action = "ON DELETE NO ACTION";
inline const std::string on_delete_restrict = "ON DELETE RESTRICT";
inline const std::string on_delete_set_null = "ON DELETE SET NULL";
inline const std::string on_delete_set_default = "ON DELETE SET DEFAULT";
inline const std::string on_delete_cascade = "ON DELETE CASCADE";
inline const std::string primary_key = "PRIMARY KEY";
inline const std::string foreign_key = "FOREIGN KEY";
inline const std::string unique = "UNIQUE";
inline const std::string not_null = "NOT NULL";
inline const std::string default_value = "DEFAULTVALUE";
inline const std::string autoincrement = "AUTOINCREMENT";

}  // namespace DatabaseORM
