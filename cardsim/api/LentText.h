// Strings that the library returns for a limited time. A host that keeps the pointer longer finds
// the bytes overwritten, as the vendor's library may do at the next call. Not synchronized.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

namespace CardSim {

// A copy of a string at a fixed address.
class LentText {
 public:
  LentText() = default;
  explicit LentText(std::string_view text);
  // Null for an object without a string.
  const char* Get() const { return m_Text.get(); }

 private:
  friend class ExpiredTexts;
  std::unique_ptr<char[]> m_Text;
  std::size_t m_Room = 0;  // bytes, the terminating zero included
};

// The strings that expired last: overwritten, but not yet freed, so that a stale pointer reads
// something obviously wrong. Under the address sanitizer they are freed at once, and it reports the
// read.
class ExpiredTexts {
 public:
  // Overwrites the string and takes it over; `text` is empty afterwards.
  void Expire(LentText& text) noexcept;

 private:
  std::array<std::unique_ptr<char[]>, 64> m_Texts;
  std::size_t m_Next = 0;
};

}  // namespace CardSim
