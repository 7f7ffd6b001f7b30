// Faults of the state's database file. The store must recover once the fault is removed.
#include <fstream>

#include "hostkit/Database.h"
#include "tests/service/state/StateFixture.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/OrdinaryUser.h"

namespace {

using StateTest::kMinute;
using StateTest::kStart;

class StateStoreFaults : public StateTest::StoreTest {
 protected:
  StateStoreFaults() { Record(kStart, CardsOf({"S0"})); }

  // Records the next minute and returns the failure; empty if it succeeds.
  std::string RecordNextMinute(const std::vector<std::string>& serials = {"S0"}) {
    try {
      m_Store.Record(StateTest::Observe(m_Time += kMinute, CardsOf(serials)));
      return "";
    } catch (const DBEXCEPTION::DatabaseException& failure) {
      return failure.what();
    }
  }
  std::string ReadKnownCards() {
    try {
      return Known();
    } catch (const DBEXCEPTION::DatabaseException& failure) {
      return failure.what();
    }
  }

  std::uint64_t m_Time = kStart;
};

TEST_F(StateStoreFaults, ReadsALockedFile) {
  OtherProgram other(File());
  other.Run("BEGIN IMMEDIATE");
  EXPECT_EQ(RecordNextMinute(), "database is locked");
  EXPECT_EQ(ReadKnownCards(), "a0 S0");
  other.Run("COMMIT");
  EXPECT_EQ(RecordNextMinute({"S0", "S1"}), "");
  EXPECT_EQ(ReadKnownCards(), "a0 S0, a1 S1");
}

TEST_F(StateStoreFaults, ReadsAFullFile) {
  const auto limitPages = [](const std::string& count) {
    HostKit::WithOwnTables([&](HostKit::Connection& connection) {
      connection.Run("PRAGMA max_page_count = " + count);
    });
  };
  std::vector<std::string> serials = {"S0"};
  for (int i = 0; i < 200; ++i) serials.push_back("S" + std::string(100, 'x') + std::to_string(i));
  limitPages("1");
  EXPECT_EQ(RecordNextMinute(serials), "database or disk is full");
  EXPECT_EQ(ReadKnownCards(), "a0 S0");
  limitPages("1000000");
  EXPECT_EQ(RecordNextMinute(serials), "");
  EXPECT_EQ(m_Store.Cards().size(), 201U);
}

TEST_F(StateStoreFaults, ReportsAFailingDisk) {
  {
    const FileSizeLimit limit(4096);
    EXPECT_EQ(RecordNextMinute({"S0", "S1"}), "disk I/O error");
    EXPECT_EQ(ReadKnownCards(), "disk I/O error");
  }
  EXPECT_EQ(RecordNextMinute({"S0", "S1"}), "");
  EXPECT_EQ(ReadKnownCards(), "a0 S0, a1 S1");
}

TEST_F(StateStoreFaults, ReplacesARemovedFile) {
  std::filesystem::remove_all(File().parent_path());
  EXPECT_EQ(ReadKnownCards(), "");
  EXPECT_EQ(RecordNextMinute({"S5", "S0"}), "");
  EXPECT_EQ(ReadKnownCards(), "a0 S5, a1 S0");
  EXPECT_EQ(OtherProgram(File()).Run("SELECT COUNT(*) FROM host_known_cards"), "2");
}

TEST_F(StateStoreFaults, ReplacesARemovedFileWhoseLogRemains) {
  std::filesystem::remove(File());
  EXPECT_EQ(RecordNextMinute({"S5"}), "");
  EXPECT_EQ(ReadKnownCards(), "a0 S5");
  EXPECT_EQ(OtherProgram(File()).Run("PRAGMA integrity_check"), "ok");
}

TEST_F(StateStoreFaults, UsesAFileThatReplacesTheOpenOne) {
  const auto second = m_Directory.Path() / "second.db";
  Use(second.string());
  m_Store.Record(StateTest::Observe(kStart, CardsOf({"S7"})));
  Use(File().string());
  EXPECT_EQ(ReadKnownCards(), "a0 S0");
  std::filesystem::rename(second, File());
  EXPECT_EQ(ReadKnownCards(), "a0 S7");
  EXPECT_EQ(RecordNextMinute({"S7", "S0"}), "");
  EXPECT_EQ(ReadKnownCards(), "a0 S7, a1 S0");
}

TEST_F(StateStoreFaults, ReportsADamagedFileAndReplacesItOnceRemoved) {
  Use(":memory:");
  {
    std::fstream file(File(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(8192);
    file << std::string(4096, '\x5A');
  }
  Use(File().string());
  EXPECT_EQ(RecordNextMinute().substr(0, 34), "database disk image is malformed: ");
  EXPECT_EQ(ReadKnownCards().substr(0, 34), "database disk image is malformed: ");
  std::filesystem::remove(File());
  EXPECT_EQ(RecordNextMinute(), "");
  EXPECT_EQ(ReadKnownCards(), "a0 S0");
}

TEST_F(StateStoreFaults, ReadsAReadOnlyFile) {
  Use(":memory:");
  MakeWorldReadable(File());
  {
    const OrdinaryUser user;
    Use(File().string());
    EXPECT_EQ(RecordNextMinute(), "attempt to write a readonly database");
    EXPECT_EQ(ReadKnownCards(), "a0 S0");
  }
}

TEST_F(StateStoreFaults, StartsEmptyInMemory) {
  Use(":memory:");
  EXPECT_EQ(RecordNextMinute({"S3"}), "");
  EXPECT_EQ(ReadKnownCards(), "a0 S3");
}

}  // namespace
