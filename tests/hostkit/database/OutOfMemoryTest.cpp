// Memory shortages in the host's log and in the statements of plug-ins.
#include <new>
#include <stdexcept>
#include <vector>

#include "hostkit/EventLog.h"
#include "hostkit/database/LayerException.h"
#include "tests/hostkit/database/Fixture.h"
#include "tests/support/MemoryShortage.h"

namespace {

using CorvaneTest::BeginShortage;
using CorvaneTest::EndShortage;
using CorvaneTest::Shortage;

class OutOfMemory : public HostDatabaseTest {};

TEST_F(OutOfMemory, AFailedEventReleasesTheFile) {
  const std::vector<HostKit::LoggedEvent> events = {HostKit::LogEntryFor(PI::CEvent())};
  int failures = 0;
  for (bool done = false; !done;) {
    BeginShortage(failures, Shortage::OneFails);
    try {
      HostKit::AppendEvents(events);
      done = true;
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    EndShortage();
    ASSERT_NO_THROW(OtherProgram(File()).Run("BEGIN IMMEDIATE; ROLLBACK")) << failures;
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

// The persistence layer catches only the database's exception.
TEST_F(OutOfMemory, AStatementFailsWithADatabaseException) {
  const std::string sql =
      "DELETE FROM host_plugin_rows;"
      "INSERT INTO host_plugin_rows (pi_vendor) VALUES (\"a string on the heap\");"
      "SELECT * FROM host_plugin_rows pi";
  int failures = 0;
  for (bool done = false; !done;) {
    std::string copy = sql;
    std::string text;
    text.reserve(200);
    BeginShortage(failures, Shortage::OneFails);
    try {
      m_pStorage->dao->query(std::move(copy));
      done = true;
    } catch (const DBEXCEPTION::DatabaseException& exception) {
      ++failures;
      text = exception.what();
    }
    EndShortage();
    EXPECT_TRUE(done || text == "out of memory") << text;
  }
  EXPECT_GT(failures, 5);
}

// The messages of other failures can have any length, and copying them requires memory.
TEST_F(OutOfMemory, OtherExceptionsBecomeDatabaseExceptions) {
  const std::runtime_error failure(std::string(1000, 'x'));
  for (const bool hasMemory : {true, false}) {
    std::string text;
    text.reserve(2000);
    try {
      throw failure;
    } catch (...) {
      if (!hasMemory) BeginShortage(0, Shortage::OneFails);
      try {
        HostKit::ThrowAsDatabaseException();
      } catch (const DBEXCEPTION::DatabaseException& exception) {
        text = exception.what();
      } catch (const std::bad_alloc&) {
        text = "bad_alloc";
      }
      EndShortage();
    }
    EXPECT_EQ(text, hasMemory ? failure.what() : "out of memory");
  }
}

}  // namespace
