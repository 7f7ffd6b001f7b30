// The host's event log as this program keeps and shows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "console/Model.h"
#include "console/Output.h"
#include "hostkit/EventLog.h"

namespace Console {

using HostKit::LoggedEvent;

// A log that cannot be used is told once and then done without. For one thread.
class History {
 public:
  // More events than a log can hold: no limit.
  static constexpr std::size_t kAll = 1'000'000'000;

  explicit History(Talk& talk) : m_Talk(talk) {}

  // Remembers whose ids these are, so that events of a card that has gone still tell which it was.
  void Learn(const std::vector<PI::CObject>& topology);
  // Whether each event is about an object whose id was learnt.
  bool KnowsAll(const std::vector<PI::CEvent>& events) const;
  // Appends the events to the log, and gives them as they are logged.
  std::vector<LoggedEvent> Record(const std::vector<PI::CEvent>& events);
  // The newest `limit` events among those not older than `sinceMs`, in order of logging; throws
  // `Failure` when the log cannot be read.
  std::vector<LoggedEvent> MustRead(std::uint64_t sinceMs, std::size_t limit);
  // The same, and none when it cannot.
  std::vector<LoggedEvent> Read(std::uint64_t sinceMs, std::size_t limit);

 private:
  struct Origin {
    std::string m_SerialNumber;
    std::uint32_t m_ObjectType = 0;
  };

  void TellUnusable(const std::string& why);

  Talk& m_Talk;
  std::map<std::uint64_t, Origin> m_Origins;
  bool m_IsToldUnusable = false;
};

// Where the database is, and how to name another one: advice beside a failure of it.
std::vector<std::string> DatabaseAdvice();

// Which objects of now the events of earlier runs were about. An object is known again by its kind
// and the serial number of its card, without one by its name. The model must outlive it.
class Namesakes {
 public:
  explicit Namesakes(const Model& model);

  // The object, or null.
  const Object* Find(const LoggedEvent& event) const;
  // The events by object, without those whose object has gone.
  std::map<const Object*, std::vector<LoggedEvent>> Sort(const std::vector<LoggedEvent>& log) const;

 private:
  using Key = std::pair<std::uint32_t, std::string>;

  std::map<Key, const Object*> m_BySerialNumber;
  std::map<std::string, const Object*> m_ByName;
};

}  // namespace Console
