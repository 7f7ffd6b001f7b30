#include "console/render/HealthCells.h"

#include <fmt/format.h>

namespace Console {

std::string StatusText(const Value& status) {
  return status.Known() ? ValueCell(status, false).m_Human : "unknown";
}

std::string Colored(const std::string& text, Severity severity, const Style& style) {
  if (!style.m_Color) return text;
  switch (severity) {
    case Severity::Good:
      return fmt::format("\033[32m{}\033[0m", text);
    case Severity::Warning:
      return fmt::format("\033[1;33m{}\033[0m", text);
    case Severity::Bad:
      return fmt::format("\033[31m{}\033[0m", text);
    case Severity::Neutral:
      break;
  }
  return text;
}

}  // namespace Console
