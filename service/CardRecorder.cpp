#include "service/CardRecorder.h"

#include "host/Database.h"
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
    } catch (const DBEXCEPTION::DatabaseException&) {
      return {};
    }
  }

 private:
  StateStore m_Store;
};

}  // namespace

std::unique_ptr<Console::CardStore> CreateCardRecorder() {
  return std::make_unique<CardRecorder>();
}

}  // namespace Service
