// Strings that the library returns for a limited time. If a host keeps the pointer longer, it finds
// the bytes overwritten, as the vendor's library may overwrite them at the next call. Not
// thread-safe.
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
  std::size_t m_Room = 0;  // in bytes, including the terminating zero
};

// The strings that expired last. They are overwritten but not yet freed, so that a stale pointer
// reads obviously wrong bytes. Under the address sanitizer they are freed immediately, and the
// sanitizer reports the read.
class ExpiredTexts {
 public:
  // Overwrites the string and takes ownership of it; `text` is empty afterwards.
  void Expire(LentText& text) noexcept;

 private:
  std::array<std::unique_ptr<char[]>, 64> m_Texts;
  std::size_t m_Next = 0;
};

}  // namespace CardSim
