#include "hostkit/Texts.h"

#include <boost/algorithm/string/predicate.hpp>
#include <locale>

#include "hostkit/texts/AdviceTexts.h"
#include "hostkit/texts/ErrorTexts.h"
#include "hostkit/texts/EventTexts.h"
#include "hostkit/texts/Names.h"
#include "hostkit/texts/OperationTexts.h"
#include "hostkit/texts/PropertyTexts.h"
#include "hostkit/texts/ValueTexts.h"

namespace HostKit {

namespace {

template <class Rows>
std::string TextOf(const Rows& rows, std::uint32_t number) {
  const auto* const row = FindRow(rows, number);
  return row != nullptr ? row->m_Text : "";
}

template <class Rows>
std::uint32_t NumberOfText(const Rows& rows, const std::string& text) {
  for (const auto& row : rows) {
    if (boost::algorithm::iequals(row.m_Text, text, std::locale::classic())) return row.m_Number;
  }
  return 0;
}

// The place that begins at `at`, from 1, or 0 when there is none.
unsigned int PlaceAt(const std::string& sentence, std::size_t at, unsigned int places) {
  if (sentence[at] != '%' || at + 1 == sentence.size()) return 0;
  const char digit = sentence[at + 1];
  const unsigned int place = digit >= '1' && digit <= '9' ? static_cast<unsigned>(digit - '0') : 0;
  return place <= places ? place : 0;
}

// In one pass, so that a text may itself hold what looks like a place.
std::string Fill(const EventRow& row, const PI::CEvent& event) {
  const std::string sentence = row.m_Text;
  std::string message;
  for (std::size_t at = 0; at < sentence.size(); ++at) {
    const unsigned int place = PlaceAt(sentence, at, row.m_Places);
    if (place == 0) {
      message += sentence[at];
      continue;
    }
    const std::string& text = event.m_PlaceHolders[place - 1];
    message += text.empty() ? "(unnamed)" : text;
    ++at;
  }
  return message;
}

}  // namespace

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

std::string AdviceOf(std::uint32_t value) {
  return TextOf(kAdviceTexts, value);
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
  const EventRow* const row = FindRow(kEventTexts, event.m_EventID);
  return row != nullptr ? Fill(*row, event) : "";
}

std::string UnitSymbol(PI::_UNITS unit) {
  return TextOf(kUnitSymbols, unit);
}

std::string HostText(std::uint32_t number) {
  return TextOf(kHostTexts, number);
}

}  // namespace HostKit
