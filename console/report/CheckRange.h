// Ranges of values for monitoring checks, such as "70", "10:", "~:70", "10:70" and "@10:70".
#pragma once

#include <optional>
#include <string>

namespace Console {

// A check alerts if the value is outside the range, or inside it if `m_AlertsInside`.
struct CheckRange {
  // Returns whether a check alerts for `value`. The ends belong to the range.
  bool Alerts(double value) const;
  // Returns the range in the format of monitoring plug-ins.
  std::string Text() const;

  std::optional<double> m_Low;   // empty: no lower end
  std::optional<double> m_High;  // empty: no upper end
  bool m_AlertsInside = false;
};

// How a single number is interpreted: as the highest or the lowest permitted value.
enum class LimitKind { Highest, Lowest };

// Parses the value of `option`; a percent sign at the end of a number is ignored. Throws `Failure`
// for any other text.
CheckRange ParseCheckRange(const std::string& option, const std::string& text, LimitKind kind);

// Returns the range that both ranges permit; `range` alone if it alerts inside. `limit` does not
// alert inside.
CheckRange Intersection(const CheckRange& range, const CheckRange& limit);

// Returns the range that permits values up to, or from, `limit`.
CheckRange RangeOf(double limit, LimitKind kind);

}  // namespace Console
