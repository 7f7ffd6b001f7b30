// Conditions of statements that read or delete rows.
//
//   where(is_equal(&Row::number, 3) and is_equal(&Row::host, "localhost"))
//
// Conditions are plain values without a lock. Building one evaluates nothing and throws nothing but
// std::bad_alloc; its text is built when a storage uses it.
#pragma once

#include <string>
#include <type_traits>
#include <utility>

#include "orm/lookup.h"
#include "orm/value_text.h"
#include "orm/words.h"

namespace DatabaseORM {

// A column holds a value: an int or a text.
template <class Value, class Member>
struct is_equal_t {
  Value value;    // int, std::string or const char*
  Member member;  // pointer to a member of the row type; its column is looked up when used
};

// Both conditions hold.
template <class Left, class Right>
struct and_condition_t {
  Left left;
  Right right;
};

// The condition of a statement.
template <class Condition>
struct where_t {
  Condition condition;
};

// Whether a type is one of the conditions above. A `where_t` is not: it cannot be combined.
template <class>
struct is_condition : std::false_type {};
template <class Value, class Member>
struct is_condition<is_equal_t<Value, Member>> : std::true_type {};
template <class Left, class Right>
struct is_condition<and_condition_t<Left, Right>> : std::true_type {};

// The column of `member` equals `value`, an int or a text. A `const char*` is not copied: it must
// outlive the condition.
//
// Null values have no meaning here: `null_int` is compared as its number, "NULL" as that word. SQL
// finds no rows with NULL by comparison, so no condition of this header does.
template <class Field, class Row, class Value>
is_equal_t<Value, Field Row::*> is_equal(Field Row::*member, Value value) {
  return {std::move(value), member};
}

// Both conditions; three or more are nested from the left. Unlike the built-in operator, it needs
// both sides: nothing is evaluated here.
template <class Left, class Right,
          std::enable_if_t<is_condition<Left>::value && is_condition<Right>::value, int> = 0>
and_condition_t<Left, Right> operator&&(Left left, Right right) {
  return {std::move(left), std::move(right)};
}

// Wraps a condition for a statement. Anything but a condition does not compile.
template <class Condition>
where_t<Condition> where(Condition condition) {
  static_assert(is_condition<Condition>::value, "where takes is_equal and conditions made of it");
  return {std::move(condition)};
}

// What a condition needs from the storage. For use within one call.
struct naming_t {
  const model_maps_t& maps;  // the storage's own list
  bool use_alias;            // whether columns have the alias of their table as a prefix
};

// The alias of the table of `Row`, as the host has set it in the map. Throws
// `failure_t::no_map_for_alias` without a map.
template <class Row>
std::string alias_of(const model_maps_t& maps) {
  return find_map<Row>(maps, failure_t::no_map_for_alias)->alias;
}

// The value as text, without quotes or escapes. A number is in decimal, a text is copied. Any other
// number is converted to int; a list does not compile.
inline std::string condition_value(int value) {
  return number_text(value);
}

inline std::string condition_value(const std::string& value) {
  return value;
}

// The text of a condition, with a blank in front:
//
//    alias.number = '3'
//    ( alias.number = '3') AND ( alias.host = 'localhost')
//
// Every value is in single quotes, numbers too, and not escaped: a single quote in a text ends the
// value there. Without `use_alias`, the column is not prefixed. Throws `failure_t::no_map` if the
// storage does not know the row type, `failure_t::no_column` if it does not know the member.
template <class Value, class Field, class Row>
std::string process_where(const naming_t& naming, const is_equal_t<Value, Field Row::*>& equal) {
  const std::string column = column_name(*find_map<Row>(naming.maps), equal.member);
  const std::string alias = alias_of<Row>(naming.maps);
  const std::string prefix = naming.use_alias ? alias + "." : "";
  return word_separator + prefix + column + word_separator + "=" + word_separator +
         condition_quote + condition_value(equal.value) + condition_quote;
}

// The second form. The left condition is looked up first, so its failure is the one that is thrown.
template <class Left, class Right>
std::string process_where(const naming_t& naming, const and_condition_t<Left, Right>& both) {
  const std::string left = process_where(naming, both.left);
  const std::string right = process_where(naming, both.right);
  return " (" + left + ") " + "AND" + " (" + right + ") ";
}

// `statement`, which may be empty, followed by " WHERE" and the condition. Throws as
// `process_where` does.
template <class Condition>
std::string process_single_condition(const naming_t& naming, const std::string& statement,
                                     const where_t<Condition>& where) {
  return statement + " WHERE" + process_where(naming, where.condition);
}

}  // namespace DatabaseORM
