#include "console/model/Selectors.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <cstdlib>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/FieldTable.h"

namespace Console {
namespace {

bool MatchesSelector(const Object& object, const std::string& text) {
  return boost::iequals(text, object.m_Selector);
}

bool MatchesId(const Object& object, const std::string& text) {
  if (!object.m_IsReported || !boost::istarts_with(text, "0x")) return false;
  char* end = nullptr;
  const std::uint64_t id = std::strtoull(text.c_str(), &end, 16);
  return *end == '\0' && id == object.m_ID;
}

// An address without a segment matches any segment.
bool MatchesPci(const Object& object, const std::string& text) {
  if (!boost::istarts_with(text, "pci:")) return false;
  const std::string wanted = text.substr(4);
  const std::string address = FieldText(object, "pci_address");
  if (wanted.empty() || address.empty()) return false;
  const std::size_t segment = address.size() > 7 ? address.size() - 7 : 0;
  return boost::iequals(wanted, address) || boost::iequals(wanted, address.substr(segment));
}

template <const char* const& field>
bool MatchesField(const Object& object, const std::string& text) {
  return !text.empty() && FieldText(object, field) == text;
}

constexpr const char* kSerialNumber = "serial_number";
constexpr const char* kControlDevice = "control_device";
constexpr const char* kName = "name";

using Rule = bool (*)(const Object&, const std::string&);

constexpr Rule kRules[] = {
    MatchesSelector,
    MatchesId,
    MatchesPci,
    MatchesField<kSerialNumber>,
    MatchesField<kControlDevice>,
    MatchesField<kName>,
};

std::string DescribeObject(const Object& object) {
  const std::string name = FieldText(object, "name");
  return fmt::format("{} ({}{}{})", object.m_Selector, name, name.empty() ? "" : ", ",
                     IdText(object));
}

Failure NoSuchObject(const Model& model, const std::string& text) {
  std::vector<std::string> candidates;
  std::vector<std::string> selectors;
  for (const Object& object : model.Objects()) {
    selectors.push_back(object.m_Selector);
    candidates.push_back(object.m_Selector);
    const std::string serial = FieldText(object, "serial_number");
    if (!serial.empty()) candidates.push_back(serial);
  }
  std::vector<std::string> advice = DidYouMean(text, candidates);
  advice.push_back(fmt::format("Objects: {}", fmt::join(selectors, ", ")));
  return Failure(ExitCode::NoObject, "NO_SUCH_OBJECT", text, "no such object", advice);
}

}  // namespace

const Object* FindObject(const Model& model, const std::string& text) {
  std::vector<const Object*> matches;
  for (const Object& object : model.Objects()) {
    const bool fits = std::any_of(std::begin(kRules), std::end(kRules),
                                  [&](Rule rule) { return rule(object, text); });
    if (fits) matches.push_back(&object);
  }
  if (matches.empty()) return nullptr;
  if (matches.size() == 1) return matches.front();
  std::vector<std::string> all;
  for (const Object* match : matches) all.push_back(DescribeObject(*match));
  throw Failure(ExitCode::NoObject, "AMBIGUOUS", text,
                fmt::format("ambiguous, matches {} objects", matches.size()),
                {fmt::format("Matches: {}", fmt::join(all, ", ")),
                 fmt::format("Pass one of these names, such as {}.", matches.front()->m_Selector)});
}

const Object& Select(const Model& model, const std::string& text) {
  const Object* object = FindObject(model, text);
  if (object == nullptr) throw NoSuchObject(model, text);
  return *object;
}

const Object& SelectReported(const Model& model, const std::string& text) {
  const Object& object = Select(model, text);
  if (object.m_IsReported) return object;
  const bool isMissing = object.m_Access == Access::Missing;
  const std::string serial = FieldText(object, "serial_number");
  std::vector<std::string> advice = {"Nothing was changed.",
                                     "See: corvane-host status " + object.m_Selector};
  throw Failure(ExitCode::Refused, isMissing ? "CARD_MISSING" : "CARD_UNREADABLE", text,
                fmt::format("{} {}", serial.empty() ? "the card" : "card " + serial,
                            isMissing ? "is missing" : "cannot be read"),
                advice);
}

}  // namespace Console
