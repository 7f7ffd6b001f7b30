#include "cardsim/api/ReturnedString.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace CardSim {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kFreesImmediately = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kFreesImmediately = true;
#else
constexpr bool kFreesImmediately = false;
#endif
#else
constexpr bool kFreesImmediately = false;
#endif

// Overwrites every byte of an expired string.
constexpr char kOverwritten = '~';
// Leaves room to overwrite an empty string visibly.
constexpr std::size_t kMinRoom = 8;

}  // namespace

ReturnedString::ReturnedString(std::string_view text)
    : m_Text(new char[std::max(text.size() + 1, kMinRoom)]),
      m_Room(std::max(text.size() + 1, kMinRoom)) {
  std::memcpy(m_Text.get(), text.data(), text.size());
  m_Text[text.size()] = '\0';
}

void ExpiredStrings::Expire(ReturnedString& text) noexcept {
  if (text.m_Text == nullptr) return;
  std::memset(text.m_Text.get(), kOverwritten, text.m_Room - 1);
  text.m_Text[text.m_Room - 1] = '\0';
  if (!kFreesImmediately) {
    m_Texts[m_Next] = std::move(text.m_Text);
    m_Next = (m_Next + 1) % m_Texts.size();
  }
  text = ReturnedString();
}

}  // namespace CardSim
