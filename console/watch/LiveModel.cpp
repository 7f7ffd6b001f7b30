#include "console/watch/LiveModel.h"

#include <algorithm>

#include "console/base/StopSignals.h"
#include "console/model/EventSeverity.h"
#include "console/model/FieldTable.h"
#include "console/report/EventMatcher.h"
#include "console/report/EventRows.h"

namespace Console {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::size_t kMaxTemperatures = 240;

// Returns the poll interval that the plug-in reports, or the plug-in's default if it is unknown.
milliseconds PollIntervalOf(const Model& model) {
  constexpr std::uint64_t kDefault = 15;
  std::uint64_t seconds = kDefault;
  for (const Object& object : model.Objects()) {
    const Field* field = FindField(object.m_Kind, "poll_interval_seconds");
    if (field == nullptr) continue;
    const Value value = ReadField(object, *field);
    if (const auto* known = std::get_if<std::uint64_t>(&value.m_Data)) seconds = *known;
  }
  return std::chrono::seconds(std::max<std::uint64_t>(seconds, 1));
}

}  // namespace

LiveModel::LiveModel(Session& session)
    : m_Session(session),
      m_Model(std::vector<PI::CObject>()),
      m_PollInterval(0),
      m_NextReading(steady_clock::now()) {
  Read();
}

bool LiveModel::Wait(milliseconds timeout, const WaitSet& extra) {
  const auto untilDue =
      std::chrono::duration_cast<milliseconds>(m_NextReading - steady_clock::now());
  const milliseconds duration =
      std::max(milliseconds(0), std::min(timeout, untilDue + milliseconds(1)));
  const bool notified = m_Session.WaitForNotification(duration, extra);
  ThrowIfStopped();
  if (!notified && steady_clock::now() < m_NextReading) return false;
  Read();
  return true;
}

// Objects are read after the events are collected, so that they already include the change that
// each event reports, and the event is shown with its object's current selector.
void LiveModel::Read() {
  const std::vector<LoggedEvent> events = m_Session.CollectEvents();
  const std::vector<PI::CObject> topology = m_Session.Topology();
  m_Model = Model(topology, m_Session.Times(), m_Session.Cards());
  for (const LoggedEvent& event : events) Remember(m_Model.Find(event.m_ObjectID), event);
  RememberTemperatures();
  m_PollInterval = PollIntervalOf(m_Model);
  m_NextReading = steady_clock::now() + m_PollInterval / 3;
}

void LiveModel::AddPastEvents(const std::vector<LoggedEvent>& past) {
  std::deque<Entry> received;
  received.swap(m_Log);
  const EventMatcher matcher(m_Model);
  for (const LoggedEvent& event : past) Remember(matcher.Find(event), event);
  m_Log.insert(m_Log.end(), received.begin(), received.end());
}

void LiveModel::Remember(const Object* object, const LoggedEvent& event) {
  m_Log.push_back(
      {EventRow(object, event), EventJson(object, event), SeverityClass(event.m_Severity)});
  ++m_EventCount;
  if (m_Log.size() > kMaxEvents) m_Log.pop_front();
}

void LiveModel::RememberTemperatures() {
  std::map<std::uint64_t, std::deque<double>> kept;
  for (const Object& object : m_Model.Objects()) {
    const Field* field = FindField(object.m_Kind, "temperature_celsius");
    if (field == nullptr) continue;
    std::deque<double>& temperatures = kept[object.m_ID];
    temperatures.swap(m_Temperatures[object.m_ID]);
    const Value value = ReadField(object, *field);
    if (const auto* known = std::get_if<double>(&value.m_Data)) temperatures.push_back(*known);
    if (temperatures.size() > kMaxTemperatures) temperatures.pop_front();
  }
  m_Temperatures.swap(kept);
}

const std::deque<double>& LiveModel::Temperatures(std::uint64_t object) const {
  static const std::deque<double> none;
  const auto found = m_Temperatures.find(object);
  return found == m_Temperatures.end() ? none : found->second;
}

}  // namespace Console
