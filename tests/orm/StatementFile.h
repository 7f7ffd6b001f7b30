// Files of statements: rows in, statements out.
//
// A file contains cases, separated by blank lines. The lines of a case up to `do` describe the
// situation:
//
//   case NAME             its name for readers
//   row TYPE              one of the types of Rows.h
//   table NAME [auto] [foreign] | table none
//   map none
//   set COLUMN VALUE      a field of the row; elements of a list are separated by commas
//   answer CELL|CELL      the database's result for the next statement
//   fail TEXT             the database rejects it
//   do VERB [ARGUMENTS]   insert, update, max COLUMN, get CONDITION or remove CONDITION
//
// The lines after `do` are the expected result: `sent STATEMENT|` for each statement, with a bar at
// its end; `gives NUMBER`, `row COLUMN=VALUE ...` or `throws TEXT`.
#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

struct StatementCase {
  std::string file;
  std::string name;
  std::string row;
  std::vector<std::pair<std::string, std::string>> lines;  // word and rest, up to `do`
  std::string expected;                                    // the lines after it
};

std::ostream& operator<<(std::ostream& out, const StatementCase& shown);

// The cases of all files of a directory. Throws `std::runtime_error` for a directory without any,
// and for a case that expects nothing.
std::vector<StatementCase> ReadStatementFiles(const std::string& directory);

// Runs a case and renders the result in the form of its expectation.
std::string RunStatementCase(const StatementCase& given);
