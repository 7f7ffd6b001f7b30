#include "console/model/CardName.h"

#include <vector>

#include "console/model/FieldTable.h"

namespace Console {
namespace {

std::string TextOf(const Object& object, const char* field, const char* prefix,
                   Sanitizer sanitize) {
  const Value value = ReadField(object, field);
  const auto* text = std::get_if<std::string>(&value.m_Data);
  return text == nullptr ? std::string() : sanitize(prefix + *text);
}

// Returns the possible names of an adapter, best first. The last is its selector, which always
// exists.
std::vector<std::string> Candidates(const Object& adapter, Sanitizer sanitize) {
  std::vector<std::string> names;
  for (const std::string& name : {TextOf(adapter, "serial_number", "", sanitize),
                                  TextOf(adapter, "pci_address", "pci:", sanitize)}) {
    if (!name.empty()) names.push_back(name);
  }
  names.push_back(adapter.m_Selector);
  return names;
}

}  // namespace

std::map<const Object*, std::string> CardNames(const Model& model, Sanitizer sanitize) {
  std::map<std::string, int> uses;
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter) continue;
    for (const std::string& name : Candidates(object, sanitize)) ++uses[name];
  }
  std::map<const Object*, std::string> names;
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter) continue;
    for (const std::string& name : Candidates(object, sanitize)) {
      names[&object] = name;
      if (uses[name] == 1) break;
    }
  }
  return names;
}

}  // namespace Console
