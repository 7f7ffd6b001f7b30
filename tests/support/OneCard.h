// A host with one simulated card whose attributes a test sets before the plug-in starts. It renders
// what the host reads as short strings.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {

// Attribute and value as JSON text; a null value makes the attribute absent.
using Settings = std::vector<std::pair<const char*, const char*>>;

inline std::vector<std::string> RenderAll(const std::vector<PI::CProperty>& properties) {
  std::vector<std::string> rows;
  for (const PI::CProperty& property : properties) rows.push_back(Render(property));
  return rows;
}

class OneCard : public SimulatedHost {
 public:
  // The ids of the first card's objects.
  static constexpr std::uint64_t PLUGIN = 0x0130000000000000;
  static constexpr std::uint64_t ADAPTER = 0x0130000000000001;
  static constexpr std::uint64_t DRIVE = 0x0130000000000002;

  explicit OneCard(const Settings& settings = {}) : m_Card(AddCard()) { Set(settings); }

  const std::string& Card() const { return m_Card; }

  void Set(const Settings& settings) {
    for (const auto& [attribute, value] : settings) {
      if (value == nullptr) {
        Cards().MakeAbsent(m_Card, attribute);
      } else {
        Cards().Set(m_Card, attribute, value);
      }
    }
  }

  // All properties of the object, rendered.
  std::vector<std::string> Rows(std::uint64_t object) { return RenderAll(Properties(object)); }

  // One property, rendered, or "result ERR_GENERAL" if there is none.
  std::string Row(std::uint64_t object, std::uint32_t propertyId) {
    PI::CProperty property(PI::Property::UNDEFINED, false);
    const unsigned int result = Property(object, propertyId, property);
    return result == 0 ? Render(property)
                       : "result " + NameOrNumber(HostKit::Family::Error, result);
  }

  // The property as rendered in the full list, or "result ERR_GENERAL" if it is missing.
  std::string RowInList(std::uint64_t object, std::uint32_t propertyId) {
    for (const PI::CProperty& property : Properties(object)) {
      if (property.m_PropertyID == propertyId) return Render(property);
    }
    return "result ERR_GENERAL";
  }

  // Clears `Calls` and `Traces`.
  void ClearRecords() {
    ClearCalls();
    ClearTraces();
  }

  // Trace lines with their levels, such as "2 ENTER GetTopology".
  std::vector<std::string> TracesWithLevel() const {
    std::vector<std::string> texts;
    for (const HostKit::TraceLine& line : TraceLines()) {
      texts.push_back(std::to_string(line.level) + " " + line.text);
    }
    return texts;
  }

 private:
  std::string m_Card;
};

}  // namespace CorvaneTest
