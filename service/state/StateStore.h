// The stored state of the service: known cards, acknowledgments, history, and the state of the
// cards according to the event log. It is stored in the host's database and survives a crash of the
// process at any time. Each call is atomic.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/database/OwnTables.h"
#include "service/state/Acknowledgments.h"
#include "service/state/CardRows.h"
#include "service/state/HistorySeries.h"
#include "service/state/KnownCard.h"
#include "service/state/Observation.h"

namespace Service {

enum class ForgetResult { Done, UnknownCard, CardIsPresent };

// Not thread-safe. Every function throws `DBEXCEPTION::DatabaseException` if the database cannot be
// used, and works again once the cause is removed. If the file was deleted or replaced, the next
// call uses the new file, with its own cards and history. Read-only files can be read.
class StateStore {
 public:
  // Limit on known cards; cards beyond it are not recorded until one is forgotten.
  static constexpr std::size_t kMaxCards = 1024;

  // Adds new cards, updates the known ones, and stores the observed values in the history of the
  // current minute. Ignores cards without a serial number, and all but the first card with the same
  // serial number.
  //
  // On the first observation of a plug-in process, logs and returns the events for all changes
  // since the last logged state. Each event is logged exactly once. The first observation in a file
  // logs nothing, because all its cards are new.
  std::vector<HostKit::LoggedEvent> Record(const Observation& observation) HOST_BLOCKS;

  // Adds new cards and updates the known ones, like `Record`, for a host that logs the plug-in's
  // events itself. Stores no history. The next first observation of `Record` therefore logs the
  // same events as without this call.
  void RecordCards(const std::vector<PI::CObject>& objects, std::uint64_t timeMs,
                   const std::set<std::string>& omitted = {}) HOST_BLOCKS;

  // Returns all known cards, ordered by position.
  //
  // A card keeps its position while it is removed from the machine. A new card gets the next unused
  // position. The position of a forgotten card is not reused, unless it was the highest.
  std::vector<KnownCard> Cards() HOST_BLOCKS;
  // Returns all known cards, ordered by position, and the next unused position.
  Console::CardRecords Records() HOST_BLOCKS;

  // Removes a missing card, with its history and acknowledgments. If the card is inserted again, it
  // counts as a new card. `isPresent` says whether the card is present; if it is empty, the last
  // observation decides.
  ForgetResult Forget(const std::string& serial,
                      std::optional<bool> isPresent = std::nullopt) HOST_BLOCKS;

  // See Acknowledgments.h. `isPresent` is the same as for `Forget`.
  AcknowledgeResult Acknowledge(const Acknowledgment& acknowledgment,
                                std::optional<bool> isPresent = std::nullopt) HOST_BLOCKS;
  bool Unacknowledge(const std::string& serial, const std::string& reason,
                     std::uint64_t nowMs) HOST_BLOCKS;
  std::vector<Acknowledgment> Acknowledgments(std::uint64_t nowMs) HOST_BLOCKS;

  // Returns std::nullopt if the card is not known.
  std::optional<HistorySeries> History(const HistoryQuery& query) HOST_BLOCKS;

 private:
  void Change(const HostKit::OwnTablesUse& use);
  void Read(const HostKit::OwnTablesUse& use);
  void Prepare(HostKit::Connection& connection);

  std::uint64_t m_Prepared = 0;  // number of the last connection prepared
  // State of the current plug-in process. `m_HasBegun`: its first observation was recorded.
  bool m_HasBegun = false;
  std::uint64_t m_LastTime = 0;
  Absences m_Absences;
};

}  // namespace Service
