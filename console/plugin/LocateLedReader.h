// The states of the locate LEDs. The plug-in does not report them with the values of the cards, but
// its check of an operation reads them from the card.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "base/Mutex.h"
#include "console/model/CardRecords.h"
#include "console/plugin/Session.h"

namespace Console {

// Reads whether the locate LED of an adapter is on. Empty: the adapter has none, or its state could
// not be read. Throws what the session throws.
std::optional<bool> ReadLocateLed(Session& session, std::uint64_t adapter);

// Reads the LEDs of all adapters, and keeps the states for some time.
class LocateLedReader {
 public:
  // With a `maxAge` of 0, each `Read` reads all LEDs.
  explicit LocateLedReader(std::chrono::milliseconds maxAge) : m_MaxAge(maxAge) {}

  // Returns the states of the adapters in `objects`, without those that are unknown. Throws what
  // the session throws. Call from the session's thread.
  std::vector<LocateLed> Read(Session& session, const std::vector<PI::CObject>& objects);
  // Forgets all states, because the object ids will be those of another plug-in process. Call from
  // the session's thread.
  void Forget() { m_States.clear(); }
  // Makes the next `Read` read this adapter's LED, which may have changed. Thread-safe.
  void Invalidate(std::uint64_t adapter);

 private:
  using Clock = std::chrono::steady_clock;

  void ForgetOutdated();

  const std::chrono::milliseconds m_MaxAge;
  std::map<std::uint64_t, bool> m_States;  // by object id; only known states
  Clock::time_point m_ReadAt{};            // when all states were forgotten last
  Base::Mutex m_Lock;
  std::set<std::uint64_t> m_Invalid HOST_GUARDED_BY(m_Lock);
};

}  // namespace Console
