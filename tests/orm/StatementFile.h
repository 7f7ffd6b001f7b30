// Test cases for the statements of the storage layer, read from text files.
//
// A file contains cases, separated by blank lines. The lines of a case up to `do` describe the
// setup:
//
//   case NAME             name of the case
//   row TYPE              a type from Rows.h
//   table NAME [auto] [foreign] | table none
//   map none
//   set COLUMN VALUE      a field of the row; elements of a list are separated by commas
//   answer CELL|CELL      the database's result for the next statement
//   fail TEXT             the database rejects the next statement with TEXT
//   do VERB [ARGUMENTS]   insert, update, max COLUMN, get CONDITION or remove CONDITION
//
// A CONDITION is `id`, `number`, `name`, `number-host`, `name-host` or `all-three`, followed by the
// values of its columns.
//
// The lines after `do` are the expected result: `sent STATEMENT|` for each statement, where the bar
// marks the end of the statement, then `returns NUMBER`, `row COLUMN=VALUE ...`, `no rows` or
// `throws TEXT`, then `the alias stays off` if a `remove` has not turned it on again.
#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

struct StatementCase {
  std::string file;
  std::string name;
  std::string row;
  std::vector<std::pair<std::string, std::string>> lines;  // keyword and arguments
  std::string expected;                                    // the lines after `do`
};

std::ostream& operator<<(std::ostream& out, const StatementCase& shown);

// Returns the cases in all files of a directory. Throws `std::runtime_error` if there are none or
// if a case has no expected result.
std::vector<StatementCase> ReadStatementFiles(const std::string& directory);

// Runs a case and returns the result in the format of `StatementCase::expected`.
std::string RunStatementCase(const StatementCase& given);
