#include "cardsim/api/ReturnedString.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace CardSim {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kFreeImmediately = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kFreeImmediately = true;
#else
constexpr bool kFreeImmediately = false;
#endif
#else
constexpr bool kFreeImmediately = false;
#endif

// Overwrites every byte of an expired string.
constexpr char kOverwritten = '~';
// Large enough that even an empty string is overwritten visibly.
constexpr std::size_t kMinCapacity = 8;

}  // namespace

ReturnedString::ReturnedString(std::string_view text)
    : m_Text(new char[std::max(text.size() + 1, kMinCapacity)]),
      m_Capacity(std::max(text.size() + 1, kMinCapacity)) {
  std::memcpy(m_Text.get(), text.data(), text.size());
  m_Text[text.size()] = '\0';
}

void ExpiredStrings::Expire(ReturnedString& text) noexcept {
  if (text.m_Text == nullptr) return;
  std::memset(text.m_Text.get(), kOverwritten, text.m_Capacity - 1);
  text.m_Text[text.m_Capacity - 1] = '\0';
  if (!kFreeImmediately) {
    m_Texts[m_Next] = std::move(text.m_Text);
    m_Next = (m_Next + 1) % m_Texts.size();
  }
  text = ReturnedString();
}

}  // namespace CardSim
