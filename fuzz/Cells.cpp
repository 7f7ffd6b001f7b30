// Cells of the database. Input: one cell, read as each type of field.
#include <cmath>
#include <stdexcept>
#include <string>

#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "orm/row_reader.h"
#include "orm/value_text.h"

namespace CorvaneFuzz {
namespace {

using namespace DatabaseORM;

// Returns the cell that an SQL statement with this text stores.
std::string StoredCell(const std::string& text) {
  const bool quoted = text.size() >= 2 && text.front() == '"';
  return quoted ? text.substr(1, text.size() - 2) : text;
}

template <class Field>
bool AreEqual(const Field& left, const Field& right) {
  return left == right;
}

// Doubles are written with six decimal places.
bool AreEqual(double left, double right) {
  if (std::isnan(left) || std::isinf(left)) return number_text(left) == number_text(right);
  return std::abs(left - right) <= 0.51e-6;
}

// Requires that a value survives a round trip through its text.
template <class Field>
void CheckRoundTrip(const std::string& cell) {
  Field value{};
  try {
    read_cell(cell, value);
  } catch (const std::invalid_argument&) {
    return;
  } catch (const std::out_of_range&) {
    return;
  }
  const std::string text = value_text(value);
  Field readBack{};
  read_cell(StoredCell(text), readBack);
  Require(AreEqual(value, readBack), "cell does not survive a round trip: " + text);
}

// As an unsigned type, a negative number wraps around to the upper half of the range, which the
// database does not store.
bool IsNegative(const std::string& cell) {
  const std::size_t begin = cell.find_first_not_of(" \t\n\v\f\r");
  return begin != std::string::npos && cell[begin] == '-';
}

}  // namespace

void Cells(const std::string& cell) {
  CheckRoundTrip<int>(cell);
  if (!IsNegative(cell)) CheckRoundTrip<unsigned long>(cell);
  CheckRoundTrip<double>(cell);
  CheckRoundTrip<std::string>(cell);
  CheckRoundTrip<RaidDataModels::string_list>(cell);
}

}  // namespace CorvaneFuzz
