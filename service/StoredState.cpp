#include "service/StoredState.h"

#include <unistd.h>

#include "console/base/Failure.h"
#include "console/base/Timestamp.h"
#include "console/plugin/EventLogClient.h"
#include "host/Database.h"
#include "service/UserName.h"
#include "service/client/ServiceSession.h"

namespace Service {
namespace {

// Calls `use`, and converts the exception of an unusable database.
template <class Use>
auto UseDatabase(Use use) {
  try {
    return use();
  } catch (const DBEXCEPTION::DatabaseException& failure) {
    throw Console::Failure(Console::ExitCode::Failed, "DATABASE_FAILED",
                           "cannot use the stored state", failure.what(),
                           Console::DatabaseAdvice());
  }
}

class DatabaseState : public StoredState {
 public:
  std::vector<KnownCard> Cards() override {
    return UseDatabase([&] { return m_Store.Cards(); });
  }

  std::optional<HistorySeries> History(const HistoryQuery& query) override {
    return UseDatabase([&] { return m_Store.History(query); });
  }

  std::vector<Acknowledgment> Acknowledgments() override {
    return UseDatabase([&] { return m_Store.Acknowledgments(Console::NowMs()); });
  }

  AcknowledgeResult Acknowledge(Acknowledgment& acknowledgment) override {
    acknowledgment.m_User = UserName(geteuid());
    acknowledgment.m_Time = Console::NowMs();
    return UseDatabase([&] { return m_Store.Acknowledge(acknowledgment, false); });
  }

  bool Unacknowledge(const std::string& serial, const std::string& reason) override {
    return UseDatabase([&] { return m_Store.Unacknowledge(serial, reason, Console::NowMs()); });
  }

  // The last observation of a service is ignored, because the card may have been removed since.
  ForgetResult Forget(const std::string& serial) override {
    return UseDatabase([&] { return m_Store.Forget(serial, false); });
  }

 private:
  StateStore m_Store;
};

}  // namespace

std::unique_ptr<StoredState> CreateDatabaseState() {
  return std::make_unique<DatabaseState>();
}

std::unique_ptr<StoredState> OpenStoredState(Console::Session& session) {
  auto* const service = dynamic_cast<ServiceSession*>(&session);
  return service == nullptr ? CreateDatabaseState() : CreateServedState(*service);
}

}  // namespace Service
