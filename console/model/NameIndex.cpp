#include "console/model/NameIndex.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>

namespace Console {

using HostKit::Family;

const std::vector<Entry>& AllEntries() {
  static const std::vector<Entry> entries = [] {
    std::vector<Entry> all;
    for (const Family family :
         {Family::Error, Family::Event, Family::Operation, Family::Property, Family::Value}) {
      for (const std::uint32_t number : HostKit::NumbersOf(family)) all.push_back({family, number});
    }
    return all;
  }();
  return entries;
}

std::string NameOf(const Entry& entry) {
  return HostKit::NameOf(entry.m_Family, entry.m_Number);
}

const char* FamilyName(const Entry& entry) {
  switch (entry.m_Family) {
    case Family::Error:
      return "error";
    case Family::Event:
      return "event";
    case Family::Operation:
      return "operation";
    case Family::Property:
      return "property";
    case Family::Value:
      return HostKit::AdviceOf(entry.m_Family, entry.m_Number).empty() ? "value" : "reason";
  }
  return "";
}

std::vector<FieldUse> FieldsOf(const Entry& entry) {
  std::vector<FieldUse> uses;
  if (entry.m_Family != Family::Property) return uses;
  for (const Kind kind : {Kind::Plugin, Kind::Adapter, Kind::Drive}) {
    for (const Field& field : FieldsOf(kind)) {
      if (field.m_PropertyID == entry.m_Number) uses.push_back({kind, &field});
    }
  }
  return uses;
}

namespace {

// Operations are also found without this prefix, unless another entry has the shorter name.
constexpr const char* kOperationPrefix = "OP_";

bool Matches(const Entry& entry, const std::string& text) {
  if (text == std::to_string(entry.m_Number) || boost::iequals(text, NameOf(entry))) return true;
  const std::vector<FieldUse> uses = FieldsOf(entry);
  return std::any_of(uses.begin(), uses.end(), [&](const FieldUse& use) {
    return boost::iequals(text, use.m_Field->m_Name);
  });
}

void AddUnique(std::vector<std::string>& names, const std::string& name) {
  if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

}  // namespace

std::vector<Entry> FindEntries(const std::string& text) {
  std::vector<Entry> found;
  for (const Entry& entry : AllEntries()) {
    if (Matches(entry, text)) found.push_back(entry);
  }
  if (found.empty() && !boost::istarts_with(text, kOperationPrefix)) {
    return FindEntries(kOperationPrefix + text);
  }
  return found;
}

std::vector<std::string> AllNames() {
  std::vector<std::string> names;
  for (const Entry& entry : AllEntries()) {
    AddUnique(names, NameOf(entry));
    for (const FieldUse& use : FieldsOf(entry)) AddUnique(names, use.m_Field->m_Name);
  }
  return names;
}

}  // namespace Console
