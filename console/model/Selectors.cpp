#include "console/model/Selectors.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "console/base/Failure.h"
#include "console/model/FieldTable.h"
#include "console/model/SerialNumbers.h"

namespace Console {
namespace {

constexpr const char* kPciPrefix = "pci:";
constexpr const char* kSlotPrefix = "slot:";

bool MatchesSelector(const Object& object, const std::string& text) {
  return boost::iequals(text, object.m_Selector);
}

bool MatchesId(const Object& object, const std::string& text) {
  if (!object.m_IsReported || !boost::istarts_with(text, "0x")) return false;
  char* end = nullptr;
  const std::uint64_t id = std::strtoull(text.c_str(), &end, 16);
  return *end == '\0' && id == object.m_ID;
}

// Returns the text after `prefix`, ignoring its case; null if the text does not start with it.
const char* After(const char* prefix, const std::string& text) {
  return boost::istarts_with(text, prefix) ? text.c_str() + std::strlen(prefix) : nullptr;
}

// Returns an address as "3b:00.0", without its segment.
std::string WithoutSegment(const std::string& address) {
  constexpr std::size_t kLength = 7;
  return address.size() > kLength ? address.substr(address.size() - kLength) : address;
}

// An address without a segment matches any segment.
bool MatchesPci(const Object& object, const std::string& text) {
  const char* const prefixed = After(kPciPrefix, text);
  const std::string wanted = prefixed == nullptr ? text : prefixed;
  const std::string address = FieldText(object, "pci_address");
  if (wanted.empty() || address.empty()) return false;
  return boost::iequals(wanted, address) || boost::iequals(wanted, WithoutSegment(address));
}

bool MatchesSlot(const Object& object, const std::string& text) {
  const char* const slot = After(kSlotPrefix, text);
  return slot != nullptr && *slot != '\0' && FieldText(object, "pci_slot") == slot;
}

// The fields whose value is a name.
constexpr const char* kNameFields[] = {"serial_number", "unique_id", "control_device", "name"};

bool MatchesField(const Object& object, const std::string& text) {
  return !text.empty() &&
         std::any_of(std::begin(kNameFields), std::end(kNameFields),
                     [&](const char* field) { return FieldText(object, field) == text; });
}

using Rule = bool (*)(const Object&, const std::string&);

constexpr Rule kRules[] = {MatchesSelector, MatchesId, MatchesPci, MatchesSlot, MatchesField};

std::string DescribeObject(const Object& object) {
  const std::string serial = FieldText(object, "serial_number");
  return serial.empty() ? object.m_Selector : fmt::format("{} ({})", object.m_Selector, serial);
}

// Messages name at most this many objects.
constexpr std::size_t kMaxNamed = 6;

// Returns the first names, and the number of those that are left out.
std::string ListText(std::vector<std::string> names) {
  const std::size_t count = names.size();
  if (count <= kMaxNamed) return fmt::format("{}", fmt::join(names, ", "));
  names.resize(kMaxNamed);
  return fmt::format("{} and {} more", fmt::join(names, ", "), count - kMaxNamed);
}

// Which serial numbers a message may suggest. A similar one belongs to another card, which a
// command must not change by mistake; in its own, only the case can be wrong.
enum class Suggested { AnySerial, SameSerial };

Failure NoSuchObject(const Model& model, const std::string& text, Suggested suggested) {
  std::vector<std::string> candidates;
  std::vector<std::string> selectors;
  for (const Object& object : model.Objects()) {
    selectors.push_back(object.m_Selector);
    candidates.push_back(object.m_Selector);
    const std::string serial = FieldText(object, "serial_number");
    const bool isSuggested = suggested == Suggested::AnySerial || boost::iequals(serial, text);
    if (!serial.empty() && isSuggested) candidates.push_back(serial);
  }
  std::vector<std::string> advice = DidYouMean(text, candidates);
  advice.push_back("Objects: " + ListText(selectors));
  if (selectors.size() > kMaxNamed) advice.emplace_back("List them all: corvane-host tree");
  return Failure(ExitCode::NoObject, "NO_SUCH_OBJECT", text, "no such object", advice);
}

using Matches = std::vector<const Object*>;

Matches FindAll(const Model& model, const std::string& text) {
  Matches matches;
  for (const Object& object : model.Objects()) {
    const bool fits = std::any_of(std::begin(kRules), std::end(kRules),
                                  [&](Rule rule) { return rule(object, text); });
    if (fits) matches.push_back(&object);
  }
  return matches;
}

// Returns the only match, or null without a match. Throws `Failure` for several.
const Object* Only(const Matches& matches, const std::string& text) {
  if (matches.empty()) return nullptr;
  if (matches.size() == 1) return matches.front();
  std::vector<std::string> all;
  for (const Object* match : matches) all.push_back(DescribeObject(*match));
  throw Failure(ExitCode::NoObject, kAmbiguous, text,
                fmt::format("ambiguous, matches {} objects", matches.size()),
                {"Matches: " + ListText(all),
                 fmt::format("Pass one of these names, such as {}.", matches.front()->m_Selector)});
}

// Returns the only drive of an adapter, or `object` itself.
const Object* OnlyDriveOf(const Model& model, const Object& object) {
  Matches drives;
  for (const Object& other : model.Objects()) {
    if (other.m_Kind == Kind::Drive && model.OwnerOf(other) == &object) drives.push_back(&other);
  }
  return object.m_Kind == Kind::Adapter && drives.size() == 1 ? drives.front() : &object;
}

// Replaces adapters by their only drive, or drops the drives, depending on the kind that a command
// needs.
Matches Narrowed(const Model& model, const Matches& matches, Kind kind) {
  Matches narrowed;
  for (const Object* match : matches) {
    const Object* const target = kind == Kind::Drive ? OnlyDriveOf(model, *match) : match;
    const bool isKnown = std::find(narrowed.begin(), narrowed.end(), target) != narrowed.end();
    if (target->m_Kind == kind && !isKnown) narrowed.push_back(target);
  }
  return narrowed.empty() ? matches : narrowed;
}

}  // namespace

const Object* FindObject(const Model& model, const std::string& text) {
  return Only(FindAll(model, text), text);
}

const Object& Select(const Model& model, const std::string& text) {
  const Object* object = FindObject(model, text);
  if (object == nullptr) throw NoSuchObject(model, text, Suggested::AnySerial);
  return *object;
}

const Object& RequireReported(const Object& object, const std::string& text) {
  if (object.m_IsReported) return object;
  const bool isMissing = object.m_Access == Access::Missing;
  const std::string serial = FieldText(object, "serial_number");
  std::vector<std::string> advice = {"Nothing was changed.",
                                     "See: corvane-host status " + object.m_Selector};
  throw Failure(
      ExitCode::Refused, isMissing ? "CARD_MISSING" : "CARD_UNREADABLE", text,
      fmt::format("{} {}", serial.empty() || serial == text ? "the card" : "card " + serial,
                  isMissing ? "is missing" : "cannot be read"),
      advice);
}

const Object& SelectReported(const Model& model, const std::string& text) {
  return RequireReported(Select(model, text), text);
}

const Object& SelectKind(const Model& model, const std::string& text, Kind kind) {
  const Object* object = Only(Narrowed(model, FindAll(model, text), kind), text);
  if (object == nullptr) throw NoSuchObject(model, text, Suggested::SameSerial);
  return *object;
}

std::vector<std::string> NamesOf(const Object& object) {
  std::vector<std::string> names = {object.m_Selector};
  const auto add = [&names](const std::string& prefix, const std::string& text) {
    if (!text.empty()) names.push_back(prefix + text);
  };
  for (const char* field : kNameFields) add("", FieldText(object, field));
  const std::string address = FieldText(object, "pci_address");
  add(kPciPrefix, address);
  add("", address);
  add(kSlotPrefix, FieldText(object, "pci_slot"));
  if (object.m_IsReported) names.push_back(IdText(object));
  return names;
}

}  // namespace Console
