#include "service/EventHooks.h"

#include <utility>

#include "console/model/Model.h"
#include "console/report/EventMatcher.h"
#include "console/report/EventRows.h"
#include "hostkit/Paths.h"

namespace Service {
namespace {

// Next to the database, because event numbers restart with a new database.
std::filesystem::path StateFile() {
  const auto database = HostKit::DatabaseFile();
  return HostKit::IsInMemory(database) ? std::string() : database.string() + "-events";
}

Hooks::ProgramSettings SettingsOf(const std::filesystem::path& directory,
                                  const std::function<void(const std::string&)>& report) {
  Hooks::ProgramSettings settings;
  settings.m_Directory = directory;
  settings.m_StateFile = StateFile();
  settings.m_StopTimeout = std::chrono::seconds(2);
  settings.m_Report = report;
  return settings;
}

Hooks::Event ToHookEvent(const Console::EventMatcher& matcher, const HostKit::LoggedEvent& event) {
  Hooks::Event result;
  result.m_Number = event.m_Number;
  result.m_Document = Console::EventJson(matcher.Find(event), event);
  return result;
}

}  // namespace

EventHooks::EventHooks(const SnapshotStore& store, const std::filesystem::path& directory,
                       std::function<void(const std::string&)> report)
    : m_Store(store),
      m_Report(std::move(report)),
      m_Programs(SettingsOf(directory, m_Report)),
      m_Tail(m_Programs.LastEventNumber()) {
  OnEvents();
  if (!m_Programs.LastEventNumber() && m_Tail.Last()) m_Programs.SkipTo(*m_Tail.Last());
}

// Reports a failure instead of throwing it, because the service continues without the programs.
void EventHooks::OnEvents() {
  try {
    ForwardEvents();
  } catch (const std::exception& failure) {
    m_Report(std::string("events.d: cannot read the event log: ") + failure.what());
  }
}

void EventHooks::ForwardEvents() {
  const std::vector<HostKit::LoggedEvent> events = m_Tail.Read();
  if (events.empty()) return;
  const Console::Model model = ModelOf(*m_Store.Get());
  const Console::EventMatcher matcher(model);
  for (const HostKit::LoggedEvent& event : events)
    m_Programs.QueueEvent(ToHookEvent(matcher, event));
}

}  // namespace Service
