#include "console/report/CheckRange.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "console/base/Failure.h"
#include "console/base/Number.h"

namespace Console {
namespace {

Failure RangeFailure(const std::string& option, const std::string& text) {
  return UsageFailure(fmt::format("{}: invalid range '{}'", option, text),
                      {"For example: 70, 10:, 10:70, ~:70, or @10:70 to alert inside the range."});
}

// Returns empty if `text` is not a finite number.
std::optional<double> ReadEnd(std::string text) {
  if (!text.empty() && text.back() == '%') text.pop_back();
  const auto number = ReadNumber<double>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::string EndText(double end) {
  return fmt::format("{:.10g}", end);
}

}  // namespace

bool CheckRange::Alerts(double value) const {
  const bool isOutside = (m_Low && value < *m_Low) || (m_High && value > *m_High);
  return isOutside != m_AlertsInside;
}

std::string CheckRange::Text() const {
  std::string text = m_AlertsInside ? "@" : "";
  if (m_Low) return text + EndText(*m_Low) + ":" + (m_High ? EndText(*m_High) : "");
  if (!m_High) return text + "~:";
  // A range that starts at 0 is written without its start.
  return text + EndText(*m_High);
}

CheckRange RangeOf(double limit, LimitKind kind) {
  CheckRange range;
  (kind == LimitKind::Highest ? range.m_High : range.m_Low) = limit;
  return range;
}

CheckRange Intersection(const CheckRange& range, const CheckRange& limit) {
  if (range.m_AlertsInside) return range;
  CheckRange both = range;
  if (limit.m_Low) both.m_Low = std::max(range.m_Low.value_or(*limit.m_Low), *limit.m_Low);
  if (limit.m_High) both.m_High = std::min(range.m_High.value_or(*limit.m_High), *limit.m_High);
  return both;
}

CheckRange ParseCheckRange(const std::string& option, const std::string& text, LimitKind kind) {
  const bool inside = !text.empty() && text.front() == '@';
  const std::string ends = text.substr(inside ? 1 : 0);
  const std::size_t colon = ends.find(':');
  CheckRange range;
  if (colon == std::string::npos) {
    const auto limit = ReadEnd(ends);
    if (!limit) throw RangeFailure(option, text);
    range = RangeOf(*limit, kind);
  } else {
    const std::string low = ends.substr(0, colon), high = ends.substr(colon + 1);
    range = {ReadEnd(low), ReadEnd(high), false};
    const bool hasBadEnd = (!range.m_Low && low != "~") || (!range.m_High && !high.empty());
    const bool isReversed = range.m_Low && range.m_High && *range.m_Low > *range.m_High;
    if (hasBadEnd || isReversed) throw RangeFailure(option, text);
  }
  range.m_AlertsInside = inside;
  return range;
}

}  // namespace Console
