// The stored state as commands use it: through the service of a session, or in the database if the
// session has a plug-in in this process.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/plugin/Session.h"
#include "service/state/StateStore.h"

namespace Service {

// Every function throws `Console::Failure` if the service or the database cannot be used. Times are
// exact to the second. Not thread-safe.
class StoredState {
 public:
  virtual ~StoredState() = default;

  // Returns all known cards, ordered by position.
  virtual std::vector<KnownCard> Cards() = 0;

  // Returns std::nullopt if the card is not known.
  virtual std::optional<HistorySeries> History(const HistoryQuery& query) = 0;

  // Returns the acknowledgments in effect.
  virtual std::vector<Acknowledgment> Acknowledgments() = 0;

  // Replaces an acknowledgment of the same card and reason. Sets the user and the time. Call with
  // the reason MISSING only if the card is missing according to the session, because the database
  // alone does not know.
  virtual AcknowledgeResult Acknowledge(Acknowledgment& acknowledgment) = 0;

  // Returns false if no such acknowledgment was in effect.
  virtual bool Unacknowledge(const std::string& serial, const std::string& reason) = 0;

  // Removes a card. Call only if the card is missing according to the session, because the database
  // alone does not know.
  virtual ForgetResult Forget(const std::string& serial) = 0;
};

// The session must outlive the result.
std::unique_ptr<StoredState> OpenStoredState(Console::Session& session);

// Implementations of `StoredState`, for `OpenStoredState`.
class ServiceSession;
std::unique_ptr<StoredState> CreateServedState(ServiceSession& session);
std::unique_ptr<StoredState> CreateDatabaseState();

}  // namespace Service
