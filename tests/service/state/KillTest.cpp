#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/service/state/StateFixture.h"

extern char** environ;

namespace {

using namespace std::chrono_literals;

class KilledService : public StateTest::StoreTest {
 protected:
  // Starts a program that records observations, and kills it `delay` after it has recorded its
  // first minute.
  void RunAndKill(int day, bool hasFlashback, std::chrono::milliseconds delay) {
    const std::string before = Minutes();
    std::string program = STATE_WRITER, start = std::to_string(day),
                state = hasFlashback ? "flashback" : "";
    char* const arguments[] = {program.data(), start.data(), state.data(), nullptr};
    pid_t process = 0;
    ASSERT_EQ(posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ), 0);
    const auto end = std::chrono::steady_clock::now() + 300s;
    while (Minutes() == before && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(1ms);
    }
    std::this_thread::sleep_for(delay);
    kill(process, SIGKILL);
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_NE(Minutes(), before);
  }

  std::string RunSql(const std::string& sql) { return OtherProgram(File()).Run(sql); }
  std::string Minutes() {
    return RunSql("SELECT value FROM host_state WHERE name = 'next_minute'");
  }

  // Expects eight cards in every minute and every hour.
  void ExpectComplete() {
    EXPECT_EQ(RunSql("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(
        RunSql("SELECT COUNT(*) = 8 * MIN(2880, " + Minutes() + ") FROM host_history_minutes"),
        "1");
    EXPECT_EQ(RunSql("SELECT time FROM host_history_hours GROUP BY time HAVING COUNT(*) <> 8"), "");
    EXPECT_EQ(RunSql("SELECT SUM(samples) = 8 * value FROM host_history_hours, host_state "
                     "WHERE name = 'next_hour_minute'"),
              "1");
    EXPECT_EQ(RunSql("SELECT MIN(hours) = MAX(hours), COUNT(*), MAX(position) "
                     "FROM host_known_cards"),
              "1|8|7");
  }
};

TEST_F(KilledService, LeavesACompleteStateAndEachEventOnce) {
  Record(StateTest::kStart, CardsOf({"S0", "S1", "S2", "S3", "S4", "S5", "S6", "S7"}));
  for (int run = 0; run < 20; ++run) {
    const bool hasFlashback = run / 2 % 2 == 1;
    RunAndKill(20001 + 100 * run, hasFlashback, std::chrono::milliseconds(run * 7 % 20));
    ExpectComplete();
  }
  // The flashback error changes before runs 2, 4, ... 18: on each of the eight cards, it appears
  // five times and ends four times.
  EXPECT_EQ(RunSql("SELECT event_id, COUNT(*) FROM host_event_log GROUP BY event_id"),
            "10965|40 10980|32");
  EXPECT_EQ(RunSql("SELECT DISTINCT logged_reasons FROM host_known_cards"),
            "40393 40457");  // attached, flashback
}

}  // namespace
