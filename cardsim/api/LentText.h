// Texts that the library gives out for a while. A host that keeps the pointer longer finds it
// overwritten, as the vendor's library may do at the next call.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

namespace CardSim {

class LentText {
 public:
  LentText() = default;
  explicit LentText(std::string_view text);
  const char* Get() const { return m_Text.get(); }

 private:
  friend class EndedTexts;
  std::unique_ptr<char[]> m_Text;
  std::size_t m_Room = 0;  // of the text with its end
};

// The texts that ended last: overwritten, but not yet freed, so that a stale pointer reads nothing
// that looks right. Under the address sanitizer they are freed at once, and it reports the reader.
class EndedTexts {
 public:
  void End(LentText& text) noexcept;

 private:
  std::array<std::unique_ptr<char[]>, 64> m_Texts;
  std::size_t m_Next = 0;
};

}  // namespace CardSim
