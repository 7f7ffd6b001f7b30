#include "service/state/StateStore.h"

#include <algorithm>
#include <set>
#include <utility>
#include <variant>

#include "console/model/FieldTable.h"
#include "service/state/HistoryRing.h"
#include "service/state/StateTables.h"

namespace Service {
namespace {

using Console::Model;
using Console::Object;
using HostKit::Connection;
using HostKit::LoggedEvent;

// Interval between updates of last_seen for a card that stays present.
constexpr std::uint64_t kLastSeenMs = 60'000;

CardStates LoggedStates(const CardRows& rows) {
  CardStates states;
  for (const auto& [serial, row] : rows) {
    if (row.m_Logged.m_IsPresent) states.emplace(serial, row.m_Logged);
  }
  return states;
}

// Skips the events that were logged as a difference, because the states already include them.
void ApplyLog(Connection& connection, std::int64_t position, CardStates& logged) {
  const std::int64_t first = ReadNumber(connection, StateNumber::DifferenceFirst);
  const std::int64_t last = ReadNumber(connection, StateNumber::DifferenceLast);
  const std::int64_t before = ReadNumber(connection, StateNumber::LogPosition);
  for (const LoggedEvent& event : ReadEventsAfter(connection, before)) {
    const bool isDifference = event.m_Number >= first && event.m_Number <= last;
    if (event.m_Number <= position && !isDifference) ApplyEvent(event, logged);
  }
  WriteNumber(connection, StateNumber::LogPosition, std::max(before, position));
}

std::vector<LoggedEvent> FormatEvents(const std::vector<StateEvent>& events) {
  std::vector<LoggedEvent> formatted;
  for (const StateEvent& event : events) {
    formatted.push_back(HostKit::LogEntryFor(event.m_Event));
    formatted.back().m_SerialNumber = event.m_SerialNumber;
    formatted.back().m_ObjectType = event.m_ObjectType;
  }
  return formatted;
}

// The logged states of the cards that were observed. The others are unknown.
CardStates Without(CardStates states, const std::set<std::string>& omitted) {
  for (const std::string& serial : omitted) states.erase(serial);
  return states;
}

// Adds the logged states of the omitted cards to the observed ones, because the next observation of
// these cards is compared with them.
CardStates WithOmitted(CardStates observed, const CardStates& logged,
                       const std::set<std::string>& omitted) {
  for (const std::string& serial : omitted) {
    const auto found = logged.find(serial);
    if (found != logged.end()) observed.insert(*found);
  }
  return observed;
}

std::vector<LoggedEvent> LogDifference(Connection& connection, const CardStates& logged,
                                       const CardStates& observed, std::uint64_t timeMs) {
  std::vector<LoggedEvent> events = FormatEvents(EventsBetween(logged, observed, timeMs));
  if (events.empty()) return events;
  std::int64_t number = NewestEventNumber(connection);
  WriteNumber(connection, StateNumber::DifferenceFirst, number + 1);
  AppendEvents(connection, events);
  for (LoggedEvent& event : events) event.m_Number = ++number;
  WriteNumber(connection, StateNumber::DifferenceLast, number);
  return events;
}

void SetText(const Object& object, const char* field, std::string& text) {
  const std::string now = FieldText(object, field);
  if (!now.empty()) text = now;
}

std::optional<std::int64_t> FieldNumber(const Object& object, const char* field) {
  const Console::Value value = ReadField(object, field);
  const auto* number = std::get_if<std::uint64_t>(&value.m_Data);
  if (number == nullptr) return std::nullopt;
  return static_cast<std::int64_t>(*number);
}

std::optional<std::int64_t> SizeOf(const CardState& state) {
  std::optional<std::int64_t> size;
  for (const DriveState& drive : state.m_Drives) {
    if (drive.m_Format.m_SizeBytes) size = size.value_or(0) + *drive.m_Format.m_SizeBytes;
  }
  return size;
}

// Fields that are now unknown keep their last known value.
void UpdateDescription(const Object& adapter, const CardState& state, KnownCard& card) {
  SetText(adapter, "name", card.m_Name);
  SetText(adapter, "product", card.m_Product);
  SetText(adapter, "pci_address", card.m_PciAddress);
  if (const auto slot = FieldNumber(adapter, "pci_slot")) card.m_Slot = slot;
  if (const auto size = SizeOf(state)) card.m_SizeBytes = size;
}

// Updates the rows of known cards from an observation.
class CardUpdate {
 public:
  CardUpdate(Connection& connection, std::uint64_t timeMs, const Model& model,
             const CardStates& observed, CardRows& rows)
      : m_TimeMs(timeMs),
        m_Model(model),
        m_Observed(observed),
        m_Rows(rows),
        m_NextPosition(ReadNumber(connection, StateNumber::NextPosition)) {
    for (const auto& [serial, row] : rows) {  // another program may have changed the stored value
      m_NextPosition = std::max(m_NextPosition, row.m_Card.m_Position + 1);
    }
  }

  void AddCards() {
    for (const Object& object : m_Model.Objects()) {
      const std::string serial = SerialOf(m_Model, object);
      const bool isCard = object.m_Kind == Console::Kind::Adapter && !serial.empty();
      if (isCard && m_Sample.count(serial) == 0) AddCard(serial, object);
    }
  }

  // `lastTimeMs`: time of the previous observation, if it was of the same plug-in process. The
  // omitted cards are present.
  void MarkMissing(std::optional<std::uint64_t> lastTimeMs, const std::set<std::string>& omitted) {
    for (auto& [serial, row] : m_Rows) {
      if (omitted.count(serial) > 0) {
        row.m_Card.m_IsPresent = true;
        continue;
      }
      if (!row.m_Card.m_IsPresent || m_Observed.count(serial) > 0) continue;
      row.m_Card.m_IsPresent = false;
      if (lastTimeMs) row.m_Card.m_LastSeen = *lastTimeMs;
    }
  }

  HistorySample Sample() const {
    HistorySample sample;
    for (const auto& [serial, values] : m_Sample) {
      sample[m_Rows.at(serial).m_Card.m_Position] = values;
    }
    return sample;
  }

  std::int64_t NextPosition() const { return m_NextPosition; }

 private:
  void AddCard(const std::string& serial, const Object& adapter) {
    const auto found = m_Rows.find(serial);
    if (found == m_Rows.end() && m_Rows.size() >= StateStore::kMaxCards) return;
    KnownCard& card = found == m_Rows.end() ? NewCard(serial) : found->second.m_Card;
    const std::uint64_t passed =
        std::max(card.m_LastSeen, m_TimeMs) - std::min(card.m_LastSeen, m_TimeMs);
    if (!card.m_IsPresent || passed >= kLastSeenMs) card.m_LastSeen = m_TimeMs;
    card.m_IsPresent = true;
    UpdateDescription(adapter, m_Observed.at(serial), card);
    m_Sample[serial] = ReadHistoryValues(adapter);
  }

  KnownCard& NewCard(const std::string& serial) {
    KnownCard& card = m_Rows[serial].m_Card;
    card.m_SerialNumber = serial;
    card.m_Position = m_NextPosition++;
    card.m_FirstSeen = m_TimeMs;
    return card;
  }

  const std::uint64_t m_TimeMs;
  const Model& m_Model;
  const CardStates& m_Observed;
  CardRows& m_Rows;
  std::int64_t m_NextPosition;
  std::map<std::string, HistoryValues> m_Sample;
};

void SetLogged(const CardStates& logged, CardRows& rows) {
  for (auto& [serial, row] : rows) {
    const auto found = logged.find(serial);
    row.m_Logged = found == logged.end() ? CardState() : found->second;
  }
}

}  // namespace

// Creates the tables if the file was opened again, because it may be a new file.
void StateStore::Prepare(Connection& connection) {
  if (m_Prepared == connection.Number() || connection.IsReadOnly()) return;
  PrepareStateTables(connection);
  m_Prepared = connection.Number();
}

void StateStore::Change(const HostKit::OwnTablesUse& use) {
  HostKit::WithOwnTables([&](Connection& connection) {
    Prepare(connection);
    InTransaction(connection, [&] { use(connection); });
  });
}

void StateStore::Read(const HostKit::OwnTablesUse& use) {
  HostKit::ReadOwnTables([&](Connection& connection) {
    Prepare(connection);
    use(connection);
  });
}

std::vector<LoggedEvent> StateStore::Record(const Observation& observation) {
  const Model model(*observation.m_pObjects);
  const CardStates observed = StatesOf(model);
  std::vector<LoggedEvent> events;
  const bool isFirst = observation.m_IsFirst || !m_HasBegun;
  Absences absences = isFirst ? Absences() : m_Absences;
  m_HasBegun = !isFirst;
  Change([&](Connection& connection) {
    const CardRows stored = ReadCardRows(connection);
    CardRows rows = stored;
    CardStates logged = LoggedStates(rows);
    const bool isNewFile = ReadNumber(connection, StateNumber::HasBaseline) == 0;
    ApplyLog(connection, observation.m_LogPosition, logged);
    if (isFirst && !isNewFile) {
      events = LogDifference(connection, Without(logged, observation.m_Omitted), observed,
                             observation.m_Time);
    }
    if (isFirst || isNewFile) {
      logged = WithOmitted(observed, logged, observation.m_Omitted);
    } else {
      ApplyObservation(observed, observation.m_Time, logged, absences);
    }
    CardUpdate update(connection, observation.m_Time, model, observed, rows);
    update.AddCards();
    update.MarkMissing(isFirst ? std::nullopt : std::optional(m_LastTime), observation.m_Omitted);
    SetLogged(logged, rows);
    WriteCardRows(connection, stored, rows);
    WriteNumber(connection, StateNumber::NextPosition, update.NextPosition());
    WriteNumber(connection, StateNumber::HasBaseline, 1);
    WriteHistory(connection, observation.m_Time, update.Sample());
  });
  m_HasBegun = true;
  m_LastTime = observation.m_Time;
  m_Absences = std::move(absences);
  return events;
}

void StateStore::RecordCards(const std::vector<PI::CObject>& objects, std::uint64_t timeMs,
                             const std::set<std::string>& omitted) {
  const Model model(objects);
  const CardStates observed = StatesOf(model);
  Change([&](Connection& connection) {
    const CardRows stored = ReadCardRows(connection);
    CardRows rows = stored;
    CardUpdate update(connection, timeMs, model, observed, rows);
    update.AddCards();
    update.MarkMissing(std::nullopt, omitted);
    WriteCardRows(connection, stored, rows);
    WriteNumber(connection, StateNumber::NextPosition, update.NextPosition());
  });
}

Console::CardRecords StateStore::Records() {
  Console::CardRecords records;
  std::vector<KnownCard>& cards = records.m_Known;
  Read([&](Connection& connection) {
    cards.clear();
    for (const auto& [serial, row] : ReadCardRows(connection)) cards.push_back(row.m_Card);
    records.m_NextPosition = ReadNumber(connection, StateNumber::NextPosition);
  });
  std::sort(cards.begin(), cards.end(), [](const KnownCard& left, const KnownCard& right) {
    return left.m_Position < right.m_Position;
  });
  return records;
}

std::vector<KnownCard> StateStore::Cards() {
  return Records().m_Known;
}

ForgetResult StateStore::Forget(const std::string& serial, std::optional<bool> isPresent) {
  ForgetResult result = ForgetResult::Done;
  Change([&](Connection& connection) {
    const CardRows rows = ReadCardRows(connection);
    const auto found = rows.find(serial);
    if (found == rows.end()) {
      result = ForgetResult::UnknownCard;
      return;
    }
    const KnownCard& card = found->second.m_Card;
    if (isPresent.value_or(card.m_IsPresent)) {
      result = ForgetResult::CardIsPresent;
      return;
    }
    for (const char* table : {"host_known_cards", "host_acknowledgments"}) {
      connection.Prepare(std::string("DELETE FROM ") + table + " WHERE serial_number = ?")
          .Bind(serial)
          .Step();
    }
    RemoveHistory(connection, card.m_Position);
    const bool isHighest = card.m_Position + 1 == ReadNumber(connection, StateNumber::NextPosition);
    if (isHighest) WriteNumber(connection, StateNumber::NextPosition, card.m_Position);
  });
  return result;
}

AcknowledgeResult StateStore::Acknowledge(const Acknowledgment& acknowledgment,
                                          std::optional<bool> isPresent) {
  AcknowledgeResult result = AcknowledgeResult::NotMissing;
  Change([&](Connection& connection) {
    const CardRows rows = ReadCardRows(connection);
    const auto found = rows.find(acknowledgment.m_SerialNumber);
    const bool wasSeen = found != rows.end() && found->second.m_Card.m_IsPresent;
    if (HidesRemoval(acknowledgment.m_Reason, isPresent.value_or(wasSeen))) return;
    result = WriteAcknowledgment(connection, acknowledgment);
  });
  return result;
}

bool StateStore::Unacknowledge(const std::string& serial, const std::string& reason,
                               std::uint64_t nowMs) {
  bool wasAcknowledged = false;
  Change([&](Connection& connection) {
    wasAcknowledged = RemoveAcknowledgment(connection, serial, reason, nowMs);
  });
  return wasAcknowledged;
}

std::vector<Acknowledgment> StateStore::Acknowledgments(std::uint64_t nowMs) {
  std::vector<Acknowledgment> acknowledgments;
  Read([&](Connection& connection) { acknowledgments = ReadAcknowledgments(connection, nowMs); });
  return acknowledgments;
}

std::optional<HistorySeries> StateStore::History(const HistoryQuery& query) {
  std::optional<std::vector<HistoryValue>> values;
  Read([&](Connection& connection) { values = ReadHistoryRange(connection, query); });
  if (!values) return std::nullopt;
  return Downsample(query, *values);
}

}  // namespace Service
