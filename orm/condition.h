// Conditions for statements that read or delete rows.
//
//   where(is_equal(&Row::number, 3) and is_equal(&Row::host, "localhost"))
//
// Conditions are plain values and not thread-safe. Creating one only stores its parts; the only
// exception it can throw is std::bad_alloc. Its SQL text is generated when a storage uses it.
#pragma once

#include <string>
#include <type_traits>
#include <utility>

#include "orm/lookup.h"
#include "orm/value_text.h"
#include "orm/words.h"

namespace DatabaseORM {

// A condition that a column equals a value.
template <class Value, class Member>
struct is_equal_t {
  Value value;    // int, std::string or const char*
  Member member;  // pointer to a member of the row type; its column is looked up at each use
};

// A condition that two conditions are both true.
template <class Left, class Right>
struct and_condition_t {
  Left left;
  Right right;
};

// A WHERE clause.
template <class Condition>
struct where_t {
  Condition condition;
};

// Whether a type is `is_equal_t` or `and_condition_t`. A `where_t` is not a condition and cannot be
// combined.
template <class>
struct is_condition : std::false_type {};
template <class Value, class Member>
struct is_condition<is_equal_t<Value, Member>> : std::true_type {};
template <class Left, class Right>
struct is_condition<and_condition_t<Left, Right>> : std::true_type {};

// Creates a condition that the column of `member` equals `value`, an int or a string. The string at
// a `const char*` is not copied and must outlive the condition.
//
// A condition never matches SQL NULL. Null values get no special treatment: `null_int` is compared
// as a number, and "NULL" as a string.
template <class Field, class Row, class Value>
is_equal_t<Value, Field Row::*> is_equal(Field Row::*member, Value value) {
  return {std::move(value), member};
}

// Combines two conditions; longer chains nest from the left. Unlike the built-in operator, this one
// does not short-circuit: both operands are always constructed.
template <class Left, class Right,
          std::enable_if_t<is_condition<Left>::value && is_condition<Right>::value, int> = 0>
and_condition_t<Left, Right> operator&&(Left left, Right right) {
  return {std::move(left), std::move(right)};
}

// Creates a WHERE clause. Only an `is_equal_t` or `and_condition_t` compiles.
template <class Condition>
where_t<Condition> where(Condition condition) {
  static_assert(is_condition<Condition>::value, "where accepts is_equal and combinations of it");
  return {std::move(condition)};
}

// The parts of a storage that the text of a condition depends on. Valid only during one call,
// because it refers to the list of the storage.
struct naming_t {
  const model_maps_t& maps;
  bool use_alias;  // whether columns have the alias of their table as a prefix
};

// Returns the table alias that the host has set in the map of `Row`. Throws
// `failure_t::no_map_for_alias` if `Row` has no map.
template <class Row>
std::string alias_of(const model_maps_t& maps) {
  return find_map<Row>(maps, failure_t::no_map_for_alias)->alias;
}

// Returns the value as text, without quotes or escapes; numbers are decimal. Arguments of other
// numeric types are converted to int. Lists do not compile.
inline std::string condition_value(int value) {
  return number_text(value);
}

inline std::string condition_value(const std::string& value) {
  return value;
}

// Returns the text of a condition, with a leading space:
//
//    alias.number = '3'
//    ( alias.number = '3') AND ( alias.host = 'localhost')
//
// Every value, including numbers, is in single quotes. Values are not escaped: a single quote in a
// value ends the SQL string. Without `use_alias`, columns have no prefix. Throws
// `failure_t::no_map` if the row type has no map, and `failure_t::no_column` if the map does not
// contain the member.
template <class Value, class Field, class Row>
std::string process_where(const naming_t& naming, const is_equal_t<Value, Field Row::*>& equal) {
  const std::string column = column_name(*find_map<Row>(naming.maps), equal.member);
  const std::string alias = alias_of<Row>(naming.maps);
  const std::string prefix = naming.use_alias ? alias + "." : "";
  return word_separator + prefix + column + word_separator + "=" + word_separator +
         condition_quote + condition_value(equal.value) + condition_quote;
}

// Returns the second form above. If both conditions throw, the left one's exception is propagated.
template <class Left, class Right>
std::string process_where(const naming_t& naming, const and_condition_t<Left, Right>& both) {
  const std::string left = process_where(naming, both.left);
  const std::string right = process_where(naming, both.right);
  return " (" + left + ") " + "AND" + " (" + right + ") ";
}

// Returns `statement`, which may be empty, followed by " WHERE" and the condition. Throws the same
// exceptions as `process_where`.
template <class Condition>
std::string process_single_condition(const naming_t& naming, const std::string& statement,
                                     const where_t<Condition>& where) {
  return statement + " WHERE" + process_where(naming, where.condition);
}

}  // namespace DatabaseORM
