// The end of a wait, if any.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace Console {

class Deadline {
 public:
  // Never over.
  Deadline() = default;
  explicit Deadline(std::chrono::steady_clock::time_point end) : m_End(end) {}
  // Starts now; without a duration, never over.
  explicit Deadline(const std::optional<std::chrono::milliseconds>& duration) {
    if (duration) m_End = std::chrono::steady_clock::now() + *duration;
  }

  // The earlier of the two.
  Deadline Earlier(const Deadline& other) const {
    if (!m_End || !other.m_End) return m_End ? *this : other;
    return *m_End < *other.m_End ? *this : other;
  }

  // As much later, and at least as much from now.
  Deadline Extended(std::chrono::milliseconds time) const {
    if (!m_End) return *this;
    return Deadline(std::max(*m_End, std::chrono::steady_clock::now()) + time);
  }

  // Whether it never is over.
  bool IsUnlimited() const { return !m_End; }
  bool IsOver() const { return m_End && std::chrono::steady_clock::now() >= *m_End; }

  // What is left, rounded up, `longest` if that is less: the system counts a wait in an int of
  // milliseconds.
  std::chrono::milliseconds Left(std::chrono::milliseconds longest = std::chrono::hours(1)) const {
    using std::chrono::milliseconds;
    if (!m_End) return longest;
    const auto left = std::chrono::ceil<milliseconds>(*m_End - std::chrono::steady_clock::now());
    return std::clamp(left, milliseconds(0), longest);
  }

 private:
  std::optional<std::chrono::steady_clock::time_point> m_End;
};

}  // namespace Console
