// An optional deadline for a wait.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace Console {

class Deadline {
 public:
  // A deadline that never passes.
  Deadline() = default;
  explicit Deadline(std::chrono::steady_clock::time_point end) : m_End(end) {}
  // `duration` from now. Without a duration, the deadline never passes.
  explicit Deadline(const std::optional<std::chrono::milliseconds>& duration) {
    if (duration) m_End = std::chrono::steady_clock::now() + *duration;
  }

  // Returns the earlier of the two deadlines.
  Deadline Earlier(const Deadline& other) const {
    if (!m_End || !other.m_End) return m_End ? *this : other;
    return *m_End < *other.m_End ? *this : other;
  }

  // Returns the deadline `time` after this one, or `time` from now if this one has passed.
  Deadline Extended(std::chrono::milliseconds time) const {
    if (!m_End) return *this;
    return Deadline(std::max(*m_End, std::chrono::steady_clock::now()) + time);
  }

  // Whether the deadline never passes.
  bool IsUnlimited() const { return !m_End; }
  bool HasPassed() const { return m_End && std::chrono::steady_clock::now() >= *m_End; }

  // Returns the time left, rounded up to whole milliseconds and capped at `longest`, because poll()
  // takes an int.
  std::chrono::milliseconds Remaining(
      std::chrono::milliseconds longest = std::chrono::hours(1)) const {
    using std::chrono::milliseconds;
    if (!m_End) return longest;
    const auto left = std::chrono::ceil<milliseconds>(*m_End - std::chrono::steady_clock::now());
    return std::clamp(left, milliseconds(0), longest);
  }

 private:
  std::optional<std::chrono::steady_clock::time_point> m_End;
};

}  // namespace Console
