// The words and marks of statements.
#pragma once

#include <string>

#include "models/FieldsMap.h"

namespace DatabaseORM {

// Between the parts of a statement, and around its values.
inline const std::string list_separator = ", ";    // between columns and between values
inline const std::string word_separator = " ";     // between words
inline const std::string condition_quote = "'";    // around each value of a condition
inline const std::string text_quote = "\"";        // around each text that is written
inline const std::string element_separator = "?";  // inside the column of a string list
inline const std::string null_word = "NULL";       // in a statement or a cell
using RaidDataModels::null_text;                   // in a field

// For the declaration of tables, which is up to the host. No statement of this layer has them.
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
