#include <pthread.h>
#include <sys/wait.h>

#include <atomic>
#include <thread>

#include "tests/cardsim/Fixture.h"

namespace {

class Jobs : public SimulatedCards {
 protected:
  void SetUp() override {
    SimulatedCards::SetUp();
    StartWithCard();
    for (const char* duration : {"attach_ms", "detach_ms", "format_ms"}) {
      File().Set("card0", duration, "20");
    }
  }

  void SetState(const char* state) { File().Set("card0", "iom_state", state); }
  std::string State() const { return File().Get("card0", "iom_state"); }

  void* CreateAttachJob() {
    void* job = nullptr;
    EXPECT_EQ(0U, vsl_iom_attach_create(CreateCard(), &job, &m_Error));
    return job;
  }
  void* CreateDetachJob(bool force = false) {
    void* job = nullptr;
    EXPECT_EQ(0U, vsl_iom_detach_create(CreateCard(), &job, &m_Error));
    if (force) {
      EXPECT_EQ(0U, vsl_iom_detach_set_force(job, 1, &m_Error));
    }
    return job;
  }
  std::string Start(void* job) {
    return vsl_op_start(job, &m_Error) == 0 ? "started" : m_Error.text;
  }
  std::string Wait(void* job) {
    return vsl_op_wait_for_result(job, &m_Error) == 0 ? "done" : m_Error.text;
  }
};

TEST_F(Jobs, AttachPassesThroughAttachingToAttached) {
  SetState("0");
  void* job = CreateAttachJob();
  EXPECT_EQ("started", Start(job));
  EXPECT_EQ("1", State());
  EXPECT_EQ("done", Wait(job));
  EXPECT_EQ("2", State());
}

TEST_F(Jobs, DetachPassesThroughDetachingToDetached) {
  void* job = CreateDetachJob();
  EXPECT_EQ("started", Start(job));
  EXPECT_EQ("3", State());
  EXPECT_EQ("done", Wait(job));
  EXPECT_EQ("0", State());
}

TEST_F(Jobs, FormatKeepsTheCardBusy) {
  SetState("0");
  void* job = nullptr;
  vsl_iom_format_create(CreateCard(), &job, &m_Error);
  EXPECT_EQ("started", Start(job));
  EXPECT_EQ("4", State());
  EXPECT_EQ("done", Wait(job));
  EXPECT_EQ("0", State());
}

TEST_F(Jobs, TheWaitLastsForTheDurationOfTheJob) {
  File().Set("card0", "detach_ms", "40");
  void* job = CreateDetachJob();
  Start(job);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ("done", Wait(job));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(35));
}

// The expected result of starting each kind of job in a given card state.
struct Rule {
  const char* state;
  const char* attach;
  const char* detach;
  const char* forced;
};

constexpr const char* kStarted = "started";
const Rule kRules[] = {
    {"0", kStarted, "not possible in state detached", "not possible in state detached"},
    {"1", "not possible in state attaching", "not possible in state attaching",
     "not possible in state attaching"},
    {"2", "not possible in state attached", kStarted, kStarted},
    {"3", "not possible in state detaching", "not possible in state detaching",
     "not possible in state detaching"},
    {"4", "not possible in state busy", "not possible in state busy", "not possible in state busy"},
    {"5", "not possible in state minimal", "not possible in state minimal", kStarted},
    {"6", "not possible in state failed", "not possible in state failed", kStarted},
    {"7", "not possible in state stopped", "not possible in state stopped", kStarted},
    {"9", "not possible in state failed", "not possible in state failed", kStarted},
};

class StateRules : public Jobs, public ::testing::WithParamInterface<Rule> {};

TEST_P(StateRules, DecideWhichJobsCanStart) {
  SetState(GetParam().state);
  EXPECT_EQ(GetParam().attach, Start(CreateAttachJob()));
  SetState(GetParam().state);
  EXPECT_EQ(GetParam().detach, Start(CreateDetachJob()));
  SetState(GetParam().state);
  EXPECT_EQ(GetParam().forced, Start(CreateDetachJob(true)));
}

INSTANTIATE_TEST_SUITE_P(Table, StateRules, ::testing::ValuesIn(kRules),
                         [](const auto& row) { return "State" + std::string(row.param.state); });

TEST_F(Jobs, ACardInUseRequiresForceToDetach) {
  File().Set("card0", "in_use", "true");
  EXPECT_EQ("the card is in use", Start(CreateDetachJob()));
  EXPECT_EQ("2", State());
  void* job = CreateDetachJob(true);
  EXPECT_EQ("started", Start(job));
  EXPECT_EQ("done", Wait(job));
  EXPECT_EQ("0", State());
}

TEST_F(Jobs, CanBeStartedAndWaitedForOnlyOnce) {
  void* job = CreateDetachJob();
  EXPECT_EQ("no job is running", Wait(job));
  EXPECT_EQ("started", Start(job));
  EXPECT_EQ("the job has already been started", Start(job));
  EXPECT_EQ("done", Wait(job));
  EXPECT_EQ("no job is running", Wait(job));
}

TEST_F(Jobs, FailAfterTheCardIsRemoved) {
  void* job = CreateDetachJob();
  void* other = CreateDetachJob();
  Start(job);
  File().RemoveCard("card0");
  EXPECT_EQ("the card has been removed", Wait(job));
  EXPECT_EQ("the card has been removed", Start(other));
}

TEST_F(Jobs, FailIfTheStateIsSetWhileTheyRun) {
  void* job = CreateDetachJob();
  Start(job);
  SetState("6");
  EXPECT_EQ("the card's state was changed while the job ran", Wait(job));
  EXPECT_EQ("6", State());
}

TEST_F(Jobs, AreAbandonedWhenTheirHandleIsDestroyed) {
  void* job = CreateDetachJob();
  Start(job);
  EXPECT_EQ(0U, vsl_destroy(&job, nullptr));
  EXPECT_EQ("2", State());
}

TEST_F(Jobs, AreAbandonedWhenTheWaitFails) {
  void* job = CreateDetachJob();
  Start(job);
  CardSim::FailCall("vsl_op_wait_for_result", 1, 99, "requested");
  EXPECT_EQ("requested", Wait(job));
  EXPECT_EQ("2", State());
}

TEST_F(Jobs, AreAbandonedByReset) {
  Start(CreateDetachJob());
  CardSim::Reset();
  EXPECT_EQ("2", State());
}

TEST_F(Jobs, AFailedStartChangesNothing) {
  CardSim::FailCall("vsl_op_start", 1, 99, "requested");
  EXPECT_EQ("requested", Start(CreateDetachJob()));
  EXPECT_EQ("2", State());
}

TEST_F(Jobs, ReleaseTheCardWhenTheirProcessExits) {
  vsl_fini();
  CardSim::Reset();
  const pid_t child = fork();
  if (child == 0) {
    vsl_init(0, &m_Error);
    Start(CreateDetachJob());
    _exit(State() == "3" ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_NE(std::string::npos, Slurp().find("\"iom_state\": 3"));
  EXPECT_EQ("2", State());
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  EXPECT_EQ("started", Start(CreateDetachJob()));
}

TEST_F(Jobs, AKilledProcessIsDetectedWithoutAChangeOfTheFile) {
  int gate[2];
  ASSERT_EQ(0, pipe(gate));
  vsl_fini();
  const pid_t child = fork();
  if (child == 0) {
    vsl_init(0, &m_Error);
    Start(CreateDetachJob());
    EXPECT_EQ(1, write(gate[1], "x", 1));
    pause();
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(1, read(gate[0], &byte, 1));
  ASSERT_EQ(0U, vsl_init(0, &m_Error));
  EXPECT_EQ(3U, vsl_iom_state(OpenCard(), &m_Error));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(2U, vsl_iom_state(OpenCard(), &m_Error));
  close(gate[0]);
  close(gate[1]);
}

// A thread that the test cancels, and what it has done so far.
struct CanceledThread {
  void* job;
  std::atomic<bool> waiting{false};
  std::atomic<bool> unwound{false};
};

struct UnwindMarker {
  explicit UnwindMarker(CanceledThread& canceled) : m_Canceled(canceled) {}
  ~UnwindMarker() { m_Canceled.unwound = true; }
  CanceledThread& m_Canceled;
};

void* WaitUntilCanceled(void* argument) {
  auto& canceled = *static_cast<CanceledThread*>(argument);
  const UnwindMarker mark(canceled);
  vsl_error_record err;
  canceled.waiting = true;
  vsl_op_wait_for_result(canceled.job, &err);
  return argument;
}

TEST_F(Jobs, ACanceledThreadUnwindsAndReleasesTheCard) {
  File().Set("card0", "detach_ms", "60000");
  CanceledThread canceled;
  canceled.job = CreateDetachJob();
  Start(canceled.job);
  pthread_t thread;
  ASSERT_EQ(0, pthread_create(&thread, nullptr, WaitUntilCanceled, &canceled));
  while (!canceled.waiting) std::this_thread::yield();
  pthread_cancel(thread);
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_EQ(PTHREAD_CANCELED, result);
  EXPECT_TRUE(canceled.unwound);
  EXPECT_EQ("2", State());
  EXPECT_NE(nullptr, OpenCard());
}

TEST_F(Jobs, DoNotBlockOtherThreads) {
  File().Set("card0", "detach_ms", "60000");
  CanceledThread canceled;
  canceled.job = CreateDetachJob();
  Start(canceled.job);
  pthread_t thread;
  ASSERT_EQ(0, pthread_create(&thread, nullptr, WaitUntilCanceled, &canceled));
  while (!canceled.waiting) std::this_thread::yield();
  EXPECT_EQ(3U, vsl_iom_state(OpenCard(), &m_Error));
  pthread_cancel(thread);
  pthread_join(thread, nullptr);
  EXPECT_EQ(2U, vsl_iom_state(OpenCard(), &m_Error));
}

void* CallUntilCanceled(void* argument) {
  auto& canceled = *static_cast<CanceledThread*>(argument);
  const UnwindMarker mark(canceled);
  vsl_error_record err;
  for (std::uint32_t i = 0;; ++i) {
    void* card = nullptr;
    vsl_iom_create_by_name("/dev/fct0", &card, &err);
    vsl_open(card, &err);
    vsl_set_beacon_state(card, i % 2, &err);
    vsl_close(card, &err);
    vsl_destroy(&card, &err);
    canceled.waiting = true;
    pthread_testcancel();
  }
}

TEST_F(Jobs, CancelingAThreadDuringOtherCallsIsHarmless) {
  for (int round = 0; round < 20; ++round) {
    CanceledThread canceled;
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, CallUntilCanceled, &canceled));
    while (!canceled.waiting) std::this_thread::yield();
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(PTHREAD_CANCELED, result);
    EXPECT_TRUE(canceled.unwound);
  }
  EXPECT_EQ("", Joined(CardSim::OpenHandles()) + Joined(CardSim::Misuse()));
}

}  // namespace
