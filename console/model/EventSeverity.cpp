#include "console/model/EventSeverity.h"

#include "host/PluginInterface.h"

namespace Console {
namespace {

struct SeverityRow {
  std::uint32_t m_Number;
  const char* m_Name;
  Severity m_Severity;
};

constexpr SeverityRow kSeverities[] = {
    {PI::SEVERITY_INFORMATION, "information", Severity::Neutral},
    {PI::SEVERITY_WARNING, "warning", Severity::Warning},
    {PI::SEVERITY_ERROR, "error", Severity::Bad},
};

SeverityRow RowOf(std::uint32_t severity) {
  for (const SeverityRow& row : kSeverities) {
    if (row.m_Number == severity) return row;
  }
  return {severity, "unknown", Severity::Neutral};
}

}  // namespace

const char* SeverityName(std::uint32_t severity) {
  return RowOf(severity).m_Name;
}

Severity SeverityClass(std::uint32_t severity) {
  return RowOf(severity).m_Severity;
}

}  // namespace Console
