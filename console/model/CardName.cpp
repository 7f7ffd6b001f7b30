#include "console/model/CardName.h"

#include <vector>

#include "console/model/FieldTable.h"

namespace Console {
namespace {

std::string TextOf(const Object& object, const char* term, const char* prefix, Clean clean) {
  const Value value = ReadTerm(object, term);
  const auto* text = std::get_if<std::string>(&value.m_Data);
  return text == nullptr ? std::string() : clean(prefix + *text);
}

// The best one first; the last one is always there.
std::vector<std::string> Candidates(const Object& adapter, Clean clean) {
  std::vector<std::string> names;
  for (const std::string& name : {TextOf(adapter, "serial_number", "", clean),
                                  TextOf(adapter, "pci_address", "pci:", clean)}) {
    if (!name.empty()) names.push_back(name);
  }
  names.push_back(adapter.m_Selector);
  return names;
}

}  // namespace

std::map<const Object*, std::string> CardNames(const Model& model, Clean clean) {
  std::map<std::string, int> uses;
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter) continue;
    for (const std::string& name : Candidates(object, clean)) ++uses[name];
  }
  std::map<const Object*, std::string> names;
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter) continue;
    for (const std::string& name : Candidates(object, clean)) {
      names[&object] = name;
      if (uses[name] == 1) break;
    }
  }
  return names;
}

}  // namespace Console
