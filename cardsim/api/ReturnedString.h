// Strings returned by the library, which are valid for a limited time. They are then overwritten,
// because the vendor's library may overwrite them on the next call. Not thread-safe.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

namespace CardSim {

// A copy of a string at a fixed address.
class ReturnedString {
 public:
  ReturnedString() = default;
  explicit ReturnedString(std::string_view text);
  // Null for an object without a string.
  const char* Get() const { return m_Text.get(); }

 private:
  friend class ExpiredStrings;
  std::unique_ptr<char[]> m_Text;
  std::size_t m_Capacity = 0;  // in bytes, including the terminating zero
};

// The most recently expired strings. They are overwritten but not yet freed, so that a stale
// pointer reads obviously wrong bytes. Under the address sanitizer they are freed immediately, and
// the sanitizer reports the read.
class ExpiredStrings {
 public:
  // Overwrites the string and takes ownership of it; `text` is empty afterwards.
  void Expire(ReturnedString& text) noexcept;

 private:
  std::array<std::unique_ptr<char[]>, 64> m_Texts;
  std::size_t m_Next = 0;
};

}  // namespace CardSim
