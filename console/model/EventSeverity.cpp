#include "console/model/EventSeverity.h"

#include "host/PluginInterface.h"

namespace Console {
namespace {

struct SeverityRow {
  std::uint32_t m_Number;
  const char* m_Name;
  Tone m_Tone;
};

constexpr SeverityRow kSeverities[] = {
    {PI::SEVERITY_INFORMATION, "information", Tone::Plain},
    {PI::SEVERITY_WARNING, "warning", Tone::Warning},
    {PI::SEVERITY_ERROR, "error", Tone::Bad},
};

SeverityRow RowOf(std::uint32_t severity) {
  for (const SeverityRow& row : kSeverities) {
    if (row.m_Number == severity) return row;
  }
  return {severity, "unknown", Tone::Plain};
}

}  // namespace

const char* SeverityName(std::uint32_t severity) {
  return RowOf(severity).m_Name;
}

Tone SeverityTone(std::uint32_t severity) {
  return RowOf(severity).m_Tone;
}

}  // namespace Console
