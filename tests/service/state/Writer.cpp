// Records observations until killed, in the database set by the environment. Arguments: the start
// day, counted from 1970, and optionally "flashback" to make the cards report this error.
#include <cstdlib>
#include <string>

#include "service/state/StateStore.h"
#include "tests/service/state/Cards.h"

int main(int count, char** arguments) {
  if (count < 2) return 2;
  const bool hasFlashback = count > 2 && std::string(arguments[2]) == "flashback";
  std::vector<StateTest::Card> cards(8);
  for (std::size_t i = 0; i < cards.size(); ++i) {
    cards[i].m_Serial = "S" + std::to_string(i);
    cards[i].m_Celsius = 50;
    if (hasFlashback) cards[i].m_Reasons.push_back(PI::Value::FLASHBACK);
  }
  Service::StateStore store;
  constexpr std::uint64_t kDay = 86'400'000, kStep = 7 * 60'000;
  for (std::uint64_t time = std::strtoul(arguments[1], nullptr, 10) * kDay;; time += kStep) {
    store.Record(StateTest::Observe(time, cards, HostKit::NewestEventNumber()));
  }
}
