// Memory that runs out while the host's own log is written.
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <vector>

#include "hostkit/EventLog.h"
#include "hostkit/database/LayerException.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

// How many allocations of this thread still succeed before one fails; negative: all succeed.
thread_local int g_AllocationsLeft = -1;

}  // namespace

void* operator new(std::size_t size) {
  if (g_AllocationsLeft >= 0 && g_AllocationsLeft-- == 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

class WithoutMemory : public HostDatabaseTest {};

TEST_F(WithoutMemory, NoOneIsKeptOut) {
  const std::vector<HostKit::LoggedEvent> events = {HostKit::WordEvent(PI::CEvent())};
  int failures = 0;
  for (bool done = false; !done;) {
    g_AllocationsLeft = failures;
    try {
      HostKit::AppendEvents(events);
      done = true;
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    g_AllocationsLeft = -1;
    ASSERT_NO_THROW(OtherProgram(File()).Run("BEGIN IMMEDIATE; ROLLBACK")) << failures;
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

// The layer above catches the database's exception and no other.
TEST_F(WithoutMemory, AStatementFailsWithTheLayersException) {
  const std::string sql =
      "DELETE FROM host_plugin_rows;"
      "INSERT INTO host_plugin_rows (pi_vendor) VALUES (\"a text that is long\");"
      "SELECT * FROM host_plugin_rows pi";
  int failures = 0;
  for (bool done = false; !done;) {
    std::string copy = sql;
    std::string text;
    text.reserve(200);
    g_AllocationsLeft = failures;
    try {
      m_pStorage->dao->query(std::move(copy));
      done = true;
    } catch (const DBEXCEPTION::DatabaseException& exception) {
      ++failures;
      text = exception.what();
    }
    g_AllocationsLeft = -1;
    EXPECT_TRUE(done || text == "out of memory") << text;
  }
  EXPECT_GT(failures, 5);
}

// A failure of another kind has a text of any length, which must be copied.
TEST_F(WithoutMemory, SoDoesAFailureWithALongText) {
  const std::runtime_error failure(std::string(1000, 'x'));
  for (const bool isThereMemory : {true, false}) {
    std::string text;
    text.reserve(2000);
    try {
      throw failure;
    } catch (...) {
      g_AllocationsLeft = isThereMemory ? -1 : 0;
      try {
        HostKit::ThrowAsDatabaseException();
      } catch (const DBEXCEPTION::DatabaseException& exception) {
        text = exception.what();
      } catch (const std::bad_alloc&) {
        text = "bad_alloc";
      }
      g_AllocationsLeft = -1;
    }
    EXPECT_EQ(text, isThereMemory ? failure.what() : "out of memory");
  }
}

}  // namespace
