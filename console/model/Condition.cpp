#include "console/model/Condition.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <cstring>

#include "base/Printable.h"
#include "console/base/Failure.h"
#include "console/base/Number.h"
#include "console/model/EffectiveState.h"
#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "console/model/PropertyName.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

struct StateWord {
  const char* m_Word;
  Presence m_Presence;
  const char* m_Property;
  const char* m_Value;  // null: any healthy value
};

constexpr StateWord kStateWords[] = {
    {"attached", Presence::Required, "status_reasons", "ATTACHED"},
    {"detached", Presence::Required, "status_reasons", "DETACHED"},
    {"ok", Presence::Required, "status", nullptr},  // OK for an adapter, AVAILABLE for a drive
    {"warning", Presence::Required, "status", "WARNING"},
    {"failed", Presence::Required, "status", "FAILED"},
    {"unreadable", Presence::Required, "status", kUnreadable},
    {"missing", Presence::Required, "status", kMissing},
    {"gone", Presence::Gone, "", ""},
    {"present", Presence::Present, "", ""},
};

constexpr const char* kIsHealthy = "is healthy";

// Longer operators come before their prefixes.
constexpr const char* kOperators[] = {"!=", "<=", ">=", "=", "<", ">"};

bool IsRelationalOperator(const std::string& op) {
  return op[0] == '<' || op[0] == '>';
}

bool CompareNumbers(double left, const std::string& op, double right) {
  if (op == "<") return left < right;
  if (op == "<=") return left <= right;
  if (op == ">") return left > right;
  return left >= right;
}

// A list is equal to `expected` if one of its elements is; numbers are compared by value.
bool IsEqual(const Value& value, const std::string& expected) {
  if (const auto* texts = std::get_if<std::vector<std::string>>(&value.m_Data)) {
    return std::any_of(texts->begin(), texts->end(),
                       [&](const std::string& text) { return boost::iequals(text, expected); });
  }
  const std::string actual = BareText(value);
  const auto left = ReadNumber<double>(actual), right = ReadNumber<double>(expected);
  if (left && right) return !(*left < *right) && !(*left > *right);
  return boost::iequals(actual, expected);
}

bool IsRatio(const std::string& property) {
  const Kind kinds[] = {Kind::Adapter, Kind::Drive};
  return std::any_of(std::begin(kinds), std::end(kinds), [&](Kind kind) {
    const Field* field = FindField(kind, property);
    return field != nullptr && field->m_Kind == ValueKind::Ratio;
  });
}

// Converts a percentage to a ratio if the property is a ratio; returns any other text unchanged.
std::string PercentToRatio(const std::string& property, const std::string& text) {
  if (text.empty() || text.back() != '%') return text;
  const auto number = ReadNumber<double>(text.substr(0, text.size() - 1));
  return number && IsRatio(property) ? fmt::format("{}", *number / 100) : text;
}

// Tables show ratios in percent, so a number above 1 is meant as a percentage. Throws `Failure`
// instead of comparing with a hundred times the intended value.
void RequireRatio(const std::string& property, const std::string& op, const std::string& text) {
  const auto number = ReadNumber<double>(text);
  if (!number || *number <= 1 || !IsRatio(property)) return;
  throw UsageFailure(fmt::format("{} is not a ratio from 0 to 1", text),
                     {fmt::format("For {} percent: '{}{}{}%'", text, property, op, text)});
}

// Returns the caption of a reason, or its name if it has none.
std::string CaptionOf(const std::string& name) {
  using HostKit::Family;
  const std::uint32_t number = HostKit::NumberOf(Family::Value, boost::to_upper_copy(name));
  const std::string caption = number == 0 ? "" : HostKit::CaptionOf(Family::Value, number);
  return caption.empty() ? name : caption;
}

// Returns the captions of a list of reasons, and the text for people of any other value.
std::string MeaningOf(const Value& value, bool ascii) {
  if (!value.Known()) return "unknown";
  const auto* names = std::get_if<std::vector<std::string>>(&value.m_Data);
  if (names == nullptr) return Base::Printable(HumanText(value, ascii));
  std::string text;
  for (const std::string& name : *names) {
    text += (text.empty() ? "" : ", ") + CaptionOf(name);
  }
  return Base::Printable(text);
}

std::vector<std::string> Advice(const std::string& text) {
  std::vector<std::string> words;
  std::string all;
  for (const StateWord& row : kStateWords) {
    words.emplace_back(row.m_Word);
    all += fmt::format("{}, ", row.m_Word);
  }
  std::vector<std::string> advice = DidYouMean(text, words);
  advice.push_back(fmt::format(
      "Valid: {}or PROP=VALUE, PROP!=VALUE, and PROP with <, <=, > or >= and NUMBER", all));
  return advice;
}

}  // namespace

Condition::Condition(const std::string& text) : m_Text(text) {
  for (const StateWord& row : kStateWords) {
    if (!boost::iequals(text, row.m_Word)) continue;
    m_Presence = row.m_Presence;
    m_Property = row.m_Property;
    m_Operator = row.m_Value == nullptr ? kIsHealthy : "=";
    m_Value = row.m_Value == nullptr ? "" : row.m_Value;
    return;
  }
  const std::size_t at = text.find_first_of("!<>=");
  for (const char* name : kOperators) {
    if (at == 0 || at == std::string::npos || text.compare(at, std::strlen(name), name) != 0) {
      continue;
    }
    m_Property = text.substr(0, at);
    m_Operator = name;
    RequireRatio(m_Property, m_Operator, text.substr(at + m_Operator.size()));
    m_Value = PercentToRatio(m_Property, text.substr(at + m_Operator.size()));
    break;
  }
  if (m_Operator.empty())
    throw UsageFailure(fmt::format("'{}' is not a valid condition", text), Advice(text));
  if (IsRelationalOperator(m_Operator) && !ReadNumber<double>(m_Value)) {
    throw UsageFailure(fmt::format("'{}' is not a number", m_Value),
                       {"For example: temperature_celsius<70"});
  }
}

// A comparison with an unknown value is never true.
Condition::Outcome Condition::Check(const Object& object, bool ascii) const {
  const Value value = ReadNamed(object, m_Property).m_Value;
  Outcome outcome{false, BareText(value), MeaningOf(value, ascii)};
  if (!value.Known()) return outcome;
  if (m_Operator == kIsHealthy) {
    outcome.m_IsMet = IsHealthy(value);
  } else if (m_Operator == "=") {
    outcome.m_IsMet = IsEqual(value, m_Value);
    // One of several reasons has ended the wait.
    const bool isList = std::holds_alternative<std::vector<std::string>>(value.m_Data);
    if (outcome.m_IsMet && isList) outcome.m_Meaning = CaptionOf(m_Value);
  } else if (m_Operator == "!=") {
    outcome.m_IsMet = !IsEqual(value, m_Value);
  } else if (const auto seen = ReadNumber<double>(outcome.m_Seen)) {
    outcome.m_IsMet = CompareNumbers(*seen, m_Operator, *ReadNumber<double>(m_Value));
  }
  return outcome;
}

std::vector<std::string> ConditionWords() {
  std::vector<std::string> words;
  for (const StateWord& word : kStateWords) words.emplace_back(word.m_Word);
  return words;
}

}  // namespace Console
