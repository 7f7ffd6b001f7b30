// What the service remembers: known cards, acknowledgments, history, and the state of the cards as
// far as it has been logged. All of it is in the host's database and survives the end of the
// process at any moment; each call takes effect completely or not at all.
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

// For one thread. Every function throws `DBEXCEPTION::DatabaseException` if the database cannot be
// used, and works again when the cause is gone. A file that was deleted or replaced is noticed at
// the next call; the new one has its own cards, and its history begins then. Reading also works
// with a file that cannot be written.
class StateStore {
 public:
  // Limit on known cards; cards beyond it are not recorded until one is forgotten.
  static constexpr std::size_t kMostCards = 1024;

  // Adds the cards that are new, and the values of the minute. Cards without a serial number are
  // left out, and all but the first of those with the same one.
  //
  // After the first observation of a plug-in process, logs the events that lead from what the log
  // says to what was observed, exactly once, and returns them. The first observation in a file logs
  // nothing: all its cards are new.
  std::vector<HostKit::LoggedEvent> Record(const Observation& observation);

  // All cards that were seen and not forgotten, by position.
  //
  // A position belongs to a serial number as long as the file exists: a card that is pulled keeps
  // it, and a new card gets the next one that was never used. The position of a forgotten card
  // remains unused, unless it was the highest; then it is the next one.
  std::vector<KnownCard> Cards();

  // Removes a card that is not present, with its history and acknowledgments. If it returns, it is
  // a new card.
  ForgetResult Forget(const std::string& serial);

  // See Acknowledgments.h.
  AcknowledgeResult Acknowledge(const Acknowledgment& acknowledgment);
  bool Unacknowledge(const std::string& serial, const std::string& reason, std::uint64_t nowMs);
  std::vector<Acknowledgment> Acknowledgments(std::uint64_t nowMs);

  // Empty if the card is not known.
  std::optional<HistorySeries> History(const HistoryQuery& query);

 private:
  void Change(const HostKit::OwnTablesUse& use);
  void Read(const HostKit::OwnTablesUse& use);
  void Prepare(HostKit::Connection& connection);

  std::uint64_t m_Prepared = 0;  // the connection whose tables exist
  // Of the plug-in process: nothing until its first observation was recorded.
  bool m_HasBegun = false;
  std::uint64_t m_LastTime = 0;
  Absences m_Absences;
};

}  // namespace Service
