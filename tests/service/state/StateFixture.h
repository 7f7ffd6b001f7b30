// A state store in a separate database file, and helpers to record observations.
#pragma once

#include <string>
#include <vector>

#include "service/state/StateStore.h"
#include "tests/hostkit/database/Fixture.h"
#include "tests/service/state/Cards.h"

namespace StateTest {

constexpr std::uint64_t kSecond = 1000;
constexpr std::uint64_t kMinute = 60 * kSecond;
constexpr std::uint64_t kHour = 60 * kMinute;
constexpr std::uint64_t kDay = 24 * kHour;
// The start of a day.
constexpr std::uint64_t kStart = 20000 * kDay;

class StoreTest : public HostDatabaseTest {
 protected:
  StoreTest() { RestartService(); }

  // Replaces the store, as a restart of the service would.
  void RestartService() { m_Store = Service::StateStore(); }

  std::vector<HostKit::LoggedEvent> Record(std::uint64_t timeMs, const std::vector<Card>& cards) {
    return m_Store.Record(Observe(timeMs, cards, HostKit::NewestEventNumber()));
  }

  static Card CardOf(const std::string& serial) {
    Card card;
    card.m_Serial = serial;
    return card;
  }
  static std::vector<Card> CardsOf(const std::vector<std::string>& serials) {
    std::vector<Card> cards;
    for (const std::string& serial : serials) cards.push_back(CardOf(serial));
    return cards;
  }

  // Renders the known cards as "a0 S1, a1 S2 missing".
  std::string Known() {
    std::string text;
    for (const Service::KnownCard& card : m_Store.Cards()) {
      text += (text.empty() ? "a" : ", a") + std::to_string(card.m_Position) + " " +
              card.m_SerialNumber + (card.m_IsPresent ? "" : " missing");
    }
    return text;
  }

  Service::StateStore m_Store;
};

}  // namespace StateTest
