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
  Value value;
  Member member;
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

// Whether a type is one of the conditions above.
template <class>
struct is_condition : std::false_type {};
template <class Value, class Member>
struct is_condition<is_equal_t<Value, Member>> : std::true_type {};
template <class Left, class Right>
struct is_condition<and_condition_t<Left, Right>> : std::true_type {};

// The column of `member` equals `value`, an int or a text. A `const char*` is not copied: it must
// outlive the condition.
template <class Field, class Row, class Value>
is_equal_t<Value, Field Row::*> is_equal(Field Row::*member, Value value) {
  return {std::move(value), member};
}

// Both conditions. Unlike the built-in operator, it needs both sides: nothing is evaluated here.
template <class Left, class Right,
          std::enable_if_t<is_condition<Left>::value && is_condition<Right>::value, int> = 0>
and_condition_t<Left, Right> operator&&(Left left, Right right) {
  return {std::move(left), std::move(right)};
}

// Makes a condition the one of a statement.
template <class Condition>
where_t<Condition> where(Condition condition) {
  static_assert(is_condition<Condition>::value, "where takes is_equal and conditions made of it");
  return {std::move(condition)};
}

// What a condition needs from the storage. For use within one call.
struct naming_t {
  const model_maps_t& maps;
  bool use_alias;  // whether columns have the alias of their table as a prefix
};

// The alias of the table of `Row`. Throws `failure_t::no_map_for_alias` without a map.
template <class Row>
std::string alias_of(const model_maps_t& maps) {
  return find_map<Row>(maps, failure_t::no_map_for_alias)->alias;
}

// The value as text, without quotes or escapes.
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
// Every value is in single quotes, numbers too, and not escaped. Throws if the storage does not
// know the row type or the member.
template <class Value, class Field, class Row>
std::string process_where(const naming_t& naming, const is_equal_t<Value, Field Row::*>& equal) {
  const std::string column = column_name(*find_map<Row>(naming.maps), equal.member);
  const std::string alias = alias_of<Row>(naming.maps);
  const std::string prefix = naming.use_alias ? alias + "." : "";
  return word_separator + prefix + column + word_separator + "=" + word_separator +
         condition_quote + condition_value(equal.value) + condition_quote;
}

template <class Left, class Right>
std::string process_where(const naming_t& naming, const and_condition_t<Left, Right>& both) {
  const std::string left = process_where(naming, both.left);
  const std::string right = process_where(naming, both.right);
  return " (" + left + ") " + "AND" + " (" + right + ") ";
}

// `statement` followed by the condition. Throws as `process_where` does.
template <class Condition>
std::string process_single_condition(const naming_t& naming, const std::string& statement,
                                     const where_t<Condition>& where) {
  return statement + " WHERE" + process_where(naming, where.condition);
}

}  // namespace DatabaseORM
