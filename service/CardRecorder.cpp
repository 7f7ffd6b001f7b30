#include "service/CardRecorder.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "console/plugin/EventLogClient.h"
#include "console/plugin/UnreadableRecords.h"
#include "host/Database.h"
#include "hostkit/Paths.h"
#include "service/state/StateStore.h"

namespace Service {
namespace {

class CardRecorder : public Console::CardStore {
 public:
  Console::CardRecords Record(const std::vector<PI::CObject>& objects,
                              const std::set<std::string>& omitted, std::uint64_t timeMs) override {
    try {
      m_Store.RecordCards(objects, timeMs, omitted);
    } catch (const DBEXCEPTION::DatabaseException&) {
      // Reading may still be possible. Commands that need the database report its failure.
    }
    try {
      return m_Store.Records();
    } catch (const DBEXCEPTION::DatabaseException& failure) {
      RequireNoFile(failure.what());
      return {};
    }
  }

 private:
  // A file that does not exist and cannot be created contains no records that could be lost.
  static void RequireNoFile(const std::string& cause) {
    std::error_code error;
    const auto status = std::filesystem::status(HostKit::DatabaseFile().string(), error);
    if (status.type() == std::filesystem::file_type::not_found) return;
    throw Console::UnreadableRecordsFailure(cause, Console::DatabaseAdvice());
  }

  StateStore m_Store;
};

}  // namespace

std::unique_ptr<Console::CardStore> CreateCardRecorder() {
  return std::make_unique<CardRecorder>();
}

}  // namespace Service
