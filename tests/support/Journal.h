// Records the plug-in's interactions in one sequence: calls of the card library, trace lines,
// statements, notifications, printed text, and what a test observes in between.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cardsim/cardsim.h"
#include "host/PluginInterface.h"
#include "hostkit/Inspect.h"
#include "hostkit/Tracing.h"
#include "tests/support/SimulatedHost.h"
#include "tests/support/StatementWatch.h"

namespace CorvaneTest {

// Redirects standard output to a file until destroyed.
class StdoutCapture {
 public:
  explicit StdoutCapture(std::filesystem::path file) : m_File(std::move(file)) {
    std::fflush(stdout);
    m_Before = dup(STDOUT_FILENO);
    std::FILE* opened = std::fopen(m_File.c_str(), "w");
    dup2(fileno(opened), STDOUT_FILENO);
    std::fclose(opened);
  }
  ~StdoutCapture() {
    std::fflush(stdout);
    dup2(m_Before, STDOUT_FILENO);
    close(m_Before);
  }
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  // Returns the output since the last call.
  std::string Next() {
    std::fflush(stdout);
    std::ifstream file(m_File);
    const std::string all{std::istreambuf_iterator<char>(file), {}};
    const std::string next = all.substr(m_Read);
    m_Read = all.size();
    return next;
  }

 private:
  const std::filesystem::path m_File;
  int m_Before = -1;
  std::size_t m_Read = 0;
};

// Construct it on the test's thread while no statement runs; destroy it before the host.
//
// An entry begins with the plug-in's locks that its thread held (d data, e events), then its kind:
// "-- trace 2 ENTER Attach(/dev/fct0)", "d- call vsl_open card#1", "de sql UPDATE host_drive_rows",
// "-- notify", "-- print Corvane:  Initialize:  adapter count is 1", "-- event CTRL_DETACHED".
class Journal {
 public:
  explicit Journal(SimulatedHost& host) : m_Host(host) {
    m_Statements.OnStatement([this](const std::string& sql) {
      ObserveNow();
      Note("sql " + sql.substr(0, sql.find("_rows") + 5));
    });
  }
  ~Journal() {
    CardSim::SetHook({});
    if (m_RecordsTraces) HostKit::SetTraceSink([](const HostKit::TraceLine&) {});
    if (m_RecordsNotifications) m_Host.Plugin()->m_HostNotify = [](IPLUGINAPI*) {};
  }
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  // Starts recording. Also resets the card library's log and failures; call `FailCall` afterwards.
  void Begin() {
    CardSim::Reset();
    CardSim::SetHook([this](const CardSim::Call& call) {
      ObserveNow();
      Note("call " + call.text());
    });
    const std::lock_guard<std::mutex> guard(m_Mutex);
    m_Entries.clear();
  }

  // Replaces the trace sink and records the trace lines. Fixtures with their own sink pass each
  // line to `Note` instead.
  void RecordTraces() {
    m_RecordsTraces = true;
    HostKit::SetTraceSink([this](const HostKit::TraceLine& line) {
      Note("trace " + std::to_string(line.level) + " " + line.text);
    });
  }
  void RecordNotifications() {
    m_RecordsNotifications = true;
    m_Host.Plugin()->m_HostNotify = [this](IPLUGINAPI*) { Note("notify"); };
  }

  void Note(const std::string& text) {
    if (m_Observing) return;
    const std::string locks = HeldLocks();
    const bool isTestThread = std::this_thread::get_id() == m_TestThread;
    const std::lock_guard<std::mutex> guard(m_Mutex);
    if (m_pOutput != nullptr) {
      std::string printed = m_pOutput->Next();
      if (!printed.empty() && printed.back() == '\n') printed.pop_back();
      if (!printed.empty()) m_Entries.push_back({locks + " print " + printed, isTestThread});
    }
    if (m_EveryEntry) {
      const std::string seen = m_EveryEntry();
      if (seen != m_Seen) m_Entries.push_back({locks + " " + seen, isTestThread});
      m_Seen = seen;
    }
    m_Entries.push_back({locks + " " + text, isTestThread});
  }

  // Records the result of `observe` whenever it changes. `observe` is called before each call and
  // each statement, on the calling thread, and may call the plug-in, whose locks are recursive.
  void Observe(std::function<std::string()> observe) {
    m_Observing = true;
    std::string now = observe();
    m_Observing = false;
    m_Observers.push_back({std::move(observe), std::move(now)});
  }
  // Like `Observe`, but called before every entry. `observe` must not call the plug-in.
  void ObserveEveryEntry(std::function<std::string()> observe) {
    m_EveryEntry = std::move(observe);
    m_Seen = m_EveryEntry();
  }
  // Collects the events before each call and each statement, one entry per event.
  void CollectEvents() { m_CollectsEvents = true; }
  // Records the output that `output` captures, until `StopOutput`.
  void RecordOutput(StdoutCapture& output) { m_pOutput = &output; }
  void StopOutput() { m_pOutput = nullptr; }

  // Observes immediately, to record changes since the last call.
  void ObserveNow() {
    if (m_Observing) return;
    std::vector<std::string> changes;
    m_Observing = true;
    if (m_CollectsEvents) {
      // A literal id, because looking it up would call the card library.
      PI::COperation collect;
      collect.m_OperationID = PI::OP_GET_EVENTS;
      m_Host.Execute(PI::CMD_EXECUTE_OPERATION, 0x0130000000000000, &collect);
      for (const PI::CEvent& event : collect.m_Events) {
        changes.push_back("event " + NameOrNumber(HostKit::Family::Event, event.m_EventID));
      }
    }
    for (auto& [observe, last] : m_Observers) {
      const std::string now = observe();
      if (now != last) changes.push_back(now);
      last = now;
    }
    m_Observing = false;
    for (const std::string& text : changes) Note(text);
  }

  std::vector<std::string> Entries() const {
    return Select([](const Entry&) { return true; });
  }
  // Only the entries of the plug-in's threads.
  std::vector<std::string> PluginEntries() const {
    return Select([](const Entry& entry) { return !entry.m_IsTestThread; });
  }

 private:
  struct Entry {
    std::string m_Text;
    bool m_IsTestThread;
  };

  template <class Wanted>
  std::vector<std::string> Select(Wanted wanted) const {
    const std::lock_guard<std::mutex> guard(m_Mutex);
    std::vector<std::string> texts;
    for (const Entry& entry : m_Entries) {
      if (wanted(entry)) texts.push_back(entry.m_Text);
    }
    return texts;
  }

  // The kit names the thread of the test "main". In a test that observes locks, only one thread of
  // the plug-in is active.
  std::string HeldLocks() const {
    const bool isTestThread = std::this_thread::get_id() == m_TestThread;
    std::string locks = "--";
    for (const HostKit::LockView& lock : HostKit::Locks()) {
      if (lock.owner.empty() || (lock.owner == "main") != isTestThread) continue;
      if (lock.ordinal == 1) locks[0] = 'd';
      if (lock.ordinal == 2) locks[1] = 'e';
    }
    return locks;
  }

  SimulatedHost& m_Host;
  StatementWatch m_Statements;
  const std::thread::id m_TestThread = std::this_thread::get_id();
  StdoutCapture* m_pOutput = nullptr;
  bool m_RecordsTraces = false;
  bool m_RecordsNotifications = false;
  bool m_CollectsEvents = false;
  std::vector<std::pair<std::function<std::string()>, std::string>> m_Observers;
  inline static thread_local bool m_Observing = false;

  mutable std::mutex m_Mutex;
  std::function<std::string()> m_EveryEntry;
  std::string m_Seen;
  std::vector<Entry> m_Entries;
};

// Removes the reads of attributes, which are too many to list.
inline std::vector<std::string> Steps(std::vector<std::string> entries) {
  const auto isRead = [](const std::string& entry) {
    const std::string begin = " call vsl_";
    if (entry.compare(2, begin.size(), begin) != 0) return false;
    const std::string name = entry.substr(2 + begin.size());
    for (const char* step :
         {"init", "fini", "iom_create_by_name", "iom_iterate", "vsu_iterate", "open", "close",
          "destroy", "adapter_create", "iom_format_create", "iom_format_set_", "iom_attach_create",
          "iom_detach_create", "iom_detach_set_force", "op_", "set_"}) {
      if (name.rfind(step, 0) == 0) return false;
    }
    return true;
  };
  entries.erase(std::remove_if(entries.begin(), entries.end(), isRead), entries.end());
  return entries;
}

}  // namespace CorvaneTest
