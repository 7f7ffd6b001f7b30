#include "hostkit/Texts.h"

#include <array>
#include <boost/algorithm/string/predicate.hpp>
#include <locale>

#include "hostkit/texts/ErrorTexts.h"
#include "hostkit/texts/EventTexts.h"
#include "hostkit/texts/MeaningTexts.h"
#include "hostkit/texts/Names.h"
#include "hostkit/texts/OperationTexts.h"
#include "hostkit/texts/PropertyTexts.h"
#include "hostkit/texts/ReasonTexts.h"
#include "hostkit/texts/ValueTexts.h"

namespace HostKit {

namespace {

template <class Rows>
std::string TextOf(const Rows& rows, std::uint32_t number) {
  const auto* const row = FindRow(rows, number);
  return row != nullptr ? row->m_Text : "";
}

template <class Rows>
std::vector<std::uint32_t> NumbersIn(const Rows& rows) {
  std::vector<std::uint32_t> numbers;
  for (const auto& row : rows) numbers.push_back(row.m_Number);
  return numbers;
}

template <class Rows>
std::uint32_t NumberOfText(const Rows& rows, const std::string& text) {
  for (const auto& row : rows) {
    if (boost::algorithm::iequals(row.m_Text, text, std::locale::classic())) return row.m_Number;
  }
  return 0;
}

// Returns the 1-based number of the placeholder that starts at `at`, or 0.
unsigned int PlaceholderAt(const std::string& format, std::size_t at, unsigned int count) {
  if (format[at] != '%' || at + 1 == format.size()) return 0;
  const char digit = format[at + 1];
  const unsigned int number = digit >= '1' && digit <= '9' ? static_cast<unsigned>(digit - '0') : 0;
  return number <= count ? number : 0;
}

// Works in one pass, because a string may contain characters that look like a placeholder.
template <class Texts>
std::string Fill(const EventRow& row, const Texts& texts) {
  const std::string format = row.m_Text;
  std::string message;
  for (std::size_t at = 0; at < format.size(); ++at) {
    const unsigned int number = PlaceholderAt(format, at, row.m_Placeholders);
    if (number == 0) {
      message += format[at];
      continue;
    }
    const std::string& text = texts[number - 1];
    message += text.empty() ? "(unnamed)" : text;
    ++at;
  }
  return message;
}

template <class Texts>
std::string FillMessage(std::uint32_t event, const Texts& texts) {
  const EventRow* const row = FindRow(kEventTexts, event);
  return row != nullptr ? Fill(*row, texts) : "";
}

template <class Rows>
std::string AdviceIn(const Rows& rows, std::uint32_t number) {
  const auto* const row = FindRow(rows, number);
  return row != nullptr ? row->m_Advice : "";
}

// Replaces the placeholders in the explanation of an event.
const std::array<std::string, 2> kAnyNames = {"NAME", "NAME"};

}  // namespace

std::vector<std::uint32_t> NumbersOf(Family family) {
  switch (family) {
    case Family::Error:
      return NumbersIn(kErrorNames);
    case Family::Event:
      return NumbersIn(kEventNames);
    case Family::Operation:
      return NumbersIn(kOperationNames);
    case Family::Property:
      return NumbersIn(kPropertyNames);
    case Family::Value:
      return NumbersIn(kValueNames);
  }
  return {};
}

std::string NameOf(Family family, std::uint32_t number) {
  switch (family) {
    case Family::Error:
      return TextOf(kErrorNames, number);
    case Family::Event:
      return TextOf(kEventNames, number);
    case Family::Operation:
      return TextOf(kOperationNames, number);
    case Family::Property:
      return TextOf(kPropertyNames, number);
    case Family::Value:
      return TextOf(kValueNames, number);
  }
  return "";
}

std::string CaptionOf(Family family, std::uint32_t number) {
  switch (family) {
    case Family::Error:
      return TextOf(kErrorTexts, number);
    case Family::Event:
      return TextOf(kEventTexts, number);
    case Family::Operation:
      return TextOf(kOperationTexts, number);
    case Family::Property:
      return TextOf(kPropertyTexts, number);
    case Family::Value:
      return TextOf(kValueTexts, number);
  }
  return "";
}

std::string MeaningOf(Family family, std::uint32_t number) {
  std::string meaning;
  if (family == Family::Operation) meaning = TextOf(kOperationMeanings, number);
  if (family == Family::Property) meaning = TextOf(kPropertyMeanings, number);
  if (family == Family::Value) meaning = TextOf(kReasonMeanings, number);
  if (family == Family::Event) meaning = FillMessage(number, kAnyNames);
  return meaning.empty() ? CaptionOf(family, number) : meaning;
}

std::string AdviceOf(Family family, std::uint32_t number) {
  if (family == Family::Event) {
    const EventRow* const row = FindRow(kEventTexts, number);
    return row != nullptr ? row->m_Advice.m_Text : "";
  }
  if (family == Family::Error) return AdviceIn(kErrorTexts, number);
  return family == Family::Value ? AdviceIn(kReasonTexts, number) : "";
}

PI::_SEVERITY SeverityOf(std::uint32_t event) {
  const EventRow* const row = FindRow(kEventTexts, event);
  return row != nullptr ? row->m_Severity : PI::SEVERITY_INFORMATION;
}

std::uint32_t ReasonOf(std::uint32_t event) {
  const EventRow* const row = FindRow(kEventTexts, event);
  return row != nullptr ? row->m_Advice.m_Reason : 0;
}

std::uint32_t EventOf(std::uint32_t reason) {
  for (const EventRow& row : kEventTexts) {
    if (reason != 0 && row.m_Advice.m_Reason == reason) return row.m_Number;
  }
  return 0;
}

PI::_VALUE_ID StatusOf(std::uint32_t reason) {
  const ReasonRow* const row = FindRow(kReasonTexts, reason);
  return row != nullptr ? row->m_Status : PI::Value::UNDEFINED;
}

std::uint32_t NumberOf(Family family, const std::string& name) {
  switch (family) {
    case Family::Error:
      return NumberOfText(kErrorNames, name);
    case Family::Event:
      return NumberOfText(kEventNames, name);
    case Family::Operation:
      return NumberOfText(kOperationNames, name);
    case Family::Property:
      return NumberOfText(kPropertyNames, name);
    case Family::Value:
      return NumberOfText(kValueNames, name);
  }
  return 0;
}

std::string MessageOf(const PI::CEvent& event) {
  return FillMessage(event.m_EventID, event.m_PlaceHolders);
}

std::string UnitSymbol(PI::_UNITS unit) {
  return TextOf(kUnitSymbols, unit);
}

std::string HostText(std::uint32_t number) {
  return TextOf(kHostTexts, number);
}

}  // namespace HostKit
