// Simulated cards that the plug-in's first scan reads, and the resulting properties, calls and
// traces as short strings.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <locale>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Texts.h"
#include "hostkit/Tracing.h"
#include "hostkit/ValueTypes.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {

inline std::string NamesOf(const std::vector<std::int32_t>& values) {
  std::string names;
  for (const std::int32_t value : values) {
    const auto number = static_cast<std::uint32_t>(value);
    names += (names.empty() ? "" : " ") + HostKit::NameOf(HostKit::Family::Value, number);
  }
  return names;
}

// Renders only the value: strings unchanged, choices by name, numbers in decimal.
inline std::string ValueOf(const PI::CProperty& property) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  switch (property.m_ValueType) {
    case HostKit::VALUE_TYPE_STRING:
      return property.m_Value.m_String.m_Text;
    case HostKit::VALUE_TYPE_BOOL:
      return property.m_Value.m_Bool ? "true" : "false";
    case HostKit::VALUE_TYPE_CHOICE:
      return NamesOf({property.m_Value.m_Choice.m_Value});
    case HostKit::VALUE_TYPE_MULTI_CHOICE:
      return NamesOf(property.m_Value.m_MultiValue.m_Values);
    case HostKit::VALUE_TYPE_NUMBER:
      return std::to_string(property.m_Value.m_Number);
    case HostKit::VALUE_TYPE_RANGE:
      return std::to_string(property.m_Value.m_Integer);
    case HostKit::VALUE_TYPE_FLOAT:
      text << property.m_Value.m_Float;
      return text.str();
    default:
      return "no value";
  }
}

// Returns the value of a property in the complete list, or "absent".
inline std::string ShownValue(SimulatedHost& host, std::uint64_t object, PI::_PROPERTY_ID id) {
  for (const PI::CProperty& property : host.Properties(object)) {
    if (property.m_PropertyID == id) return ValueOf(property);
  }
  return "absent";
}

// A host with one card, which a test sets up before the scan.
class ScannedCard {
 public:
  explicit ScannedCard(std::uint16_t deviceId = 0x1003) : m_Card(m_Host.AddCard(deviceId)) {}

  SimulatedHost& Host() { return m_Host; }
  const std::string& Name() const { return m_Card; }

  ScannedCard& Set(const std::string& attribute, const std::string& value) {
    m_Host.Cards().Set(m_Card, attribute, value);
    return *this;
  }
  ScannedCard& Without(const std::string& attribute) {
    m_Host.Cards().MakeAbsent(m_Card, attribute);
    return *this;
  }

  // Runs `Initialize` and returns its result. Earlier traces are cleared.
  unsigned int Scan() {
    m_Host.ClearTraces();
    return m_Host.Initialize();
  }

  std::string Adapter(PI::_PROPERTY_ID id) { return ShownValue(m_Host, m_Host.AdapterId(0), id); }
  std::string Drive(PI::_PROPERTY_ID id) { return ShownValue(m_Host, m_Host.DriveId(0), id); }

 private:
  SimulatedHost m_Host;
  std::string m_Card;
};

using Lines = std::vector<std::string>;

// Returns how often `line` occurs in `lines`.
inline int Count(const Lines& lines, const std::string& line) {
  int count = 0;
  for (const std::string& each : lines) count += each == line ? 1 : 0;
  return count;
}

// Returns the lines that start with `begin`.
inline Lines StartingWith(const Lines& lines, const std::string& begin) {
  Lines found;
  for (const std::string& line : lines) {
    if (line.rfind(begin, 0) == 0) found.push_back(line);
  }
  return found;
}

// Returns the trace lines as "level text".
inline Lines TracesWithLevel(const SimulatedHost& host) {
  Lines lines;
  for (const HostKit::TraceLine& line : host.TraceLines()) {
    lines.push_back(std::to_string(line.level) + " " + line.text);
  }
  return lines;
}

// Calls, open handles and misuse up to the end of the first scan, before its result is used.
struct ScanLog {
  Lines calls;
  Lines handles;
  Lines misuse;
};

// Runs `Initialize` and returns the log of its scan.
inline ScanLog LogFirstScan(SimulatedHost& host) {
  ScanLog log;
  HostKit::SetTraceSink([&log](const HostKit::TraceLine& line) {
    if (line.text != "LEAVE ScanSystem() -> 0") return;
    log = {CardSim::CallTexts(), CardSim::OpenHandles(), CardSim::Misuse()};
  });
  EXPECT_EQ(host.Initialize(), 0U);
  HostKit::SetTraceSink([](const HostKit::TraceLine&) {});
  return log;
}

// Sleeps in virtual time.
inline void SleepMs(unsigned int milliseconds) {
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + std::int64_t{milliseconds} * 1000000);
}

// Returns the virtual time that `action` takes, in milliseconds.
template <class Action>
unsigned long ElapsedMs(Action action) {
  const unsigned long begin = MBX::Misc::now();
  action();
  return MBX::Misc::now() - begin;
}

}  // namespace CorvaneTest
