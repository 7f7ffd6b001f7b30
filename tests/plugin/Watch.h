// A plug-in whose worker polls simulated cards in virtual time, and a record of its trace lines,
// notifications and events.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Tracing.h"
#include "tests/support/HeldCall.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {

using Lines = std::vector<std::string>;
using Timestamps = std::vector<unsigned long>;  // milliseconds since the worker's start

// Object ids, in the order in which the first scan assigns them.
constexpr std::uint64_t PLUGIN = 0x0130000000000000;
constexpr std::uint64_t ObjectId(std::uint64_t counter) {
  return PLUGIN + counter;
}
constexpr std::uint64_t FIRST = ObjectId(1);
constexpr std::uint64_t FIRST_DRIVE = ObjectId(2);
constexpr std::uint64_t SECOND = ObjectId(3);
constexpr std::uint64_t SECOND_DRIVE = ObjectId(4);

// Renders the name, severity, counter of the object's id, source name, and placeholders up to the
// last one that is not empty: "CTRL_DETACHED severity 4 object 1 SanDisk Flash Adapter 785GB (1) |
// SanDisk Flash Adapter 785GB (1)".
inline std::string EventText(const PI::CEvent& event) {
  std::string text = NameOrNumber(HostKit::Family::Event, event.m_EventID) + " severity " +
                     std::to_string(event.m_Severity) + " object " +
                     std::to_string(event.m_ObjectID - PLUGIN) + " " + event.m_SourceName;
  std::size_t used = event.m_PlaceHolders.size();
  while (used > 0 && event.m_PlaceHolders[used - 1].empty()) --used;
  for (std::size_t i = 0; i < used; ++i) text += " | " + event.m_PlaceHolders[i];
  return text;
}

// Returns the name of a lock of the plug-in, which constructs its locks in this order.
inline std::string PluginLockName(std::size_t ordinal) {
  const char* const names[] = {"m_DataLock", "m_EventsLock"};
  const bool isKnown = ordinal >= 1 && ordinal <= std::size(names);
  return isKnown ? names[ordinal - 1] : "lock " + std::to_string(ordinal);
}

class WorkerFixture : public testing::Test {
 protected:
  // Adds attached, healthy cards of one kind whose values do not change by themselves. A quick poll
  // or a scan takes 12 ms per card.
  void AddCards(int count) {
    for (int i = 0; i < count; ++i) m_Host.AddCard(0x1003);
  }
  // Removes the masks of the card, so that a quick poll takes no time.
  void RemoveMasks(const std::string& card) {
    for (const char* mask : {"current_errors", "current_warnings", "current_info"}) {
      m_Host.Cards().MakeAbsent(card, mask);
    }
  }
  void Set(const std::string& card, const std::string& attribute, const std::string& value) {
    m_Host.Cards().Set(card, attribute, value);
  }
  // `Hide` removes a card; `Show` brings it back.
  void Hide(int card) {
    Set("card" + std::to_string(card), "device_path", "/dev/hidden" + std::to_string(card));
  }
  void Show(int card) {
    Set("card" + std::to_string(card), "device_path", "/dev/fct" + std::to_string(card));
  }

  // Starts the plug-in. From here on, calls, trace lines and notifications are recorded, with times
  // since the start of the worker. Initialization must return `expected`.
  void StartWatch(const std::string& pollInterval = "15", unsigned int expected = 0) {
    m_PollInterval = pollInterval;
    m_Host.WriteIni("PollInterval=" + pollInterval + "\n");
    ASSERT_EQ(m_Host.Initialize(), expected);
    m_Host.Plugin()->m_HostNotify = [this](IPLUGINAPI* plugin) { RecordNotification(plugin); };
    m_Host.ClearCalls();
    m_Begin = MBX::Misc::now();
    HostKit::SetTraceSink([this](const HostKit::TraceLine& line) { Keep(line); });
    ASSERT_EQ(m_Host.AssignAdapterNumbers(), 0U);
    Settle();
  }

  // Runs every thread until it waits.
  static void Settle() { HostKit::SleepUntilNs(HostKit::SteadyNowNs() + 1); }
  static void PassMs(std::int64_t milliseconds) {
    SleepFor(milliseconds);
    Settle();
  }
  unsigned long NowMs() const { return MBX::Misc::now() - m_Begin; }

  // Waits until the worker has handled `count` more wake-ups, or completed `count` more scans.
  void WaitForWakeUps(std::size_t count = 1) { Await("2 Worker() before restart interval", count); }
  void WaitForScans(std::size_t count = 1) { Await("4 Worker() after bscan", count); }

  std::size_t Scans() const { return TimesOf("4 Worker() after bscan").size(); }
  // The start time of each scan.
  Timestamps ScanTimes() const { return TimesOf("16 Before ScanSystem()"); }
  Timestamps WakeUpTimes() const { return TimesOf("4 Worker() timeout event received"); }

  Timestamps TimesOf(const std::string& line) const {
    const std::lock_guard<std::mutex> guard(m_Mutex);
    Timestamps times;
    for (std::size_t i = 0; i < m_Lines.size(); ++i) {
      if (m_Lines[i] == line) times.push_back(m_LineTimes[i]);
    }
    return times;
  }
  // Returns the trace lines with their levels, except those about rows and those of the test's own
  // requests.
  Lines RecordedLines() const {
    const std::lock_guard<std::mutex> guard(m_Mutex);
    Lines lines;
    for (const std::string& line : m_Lines) {
      const bool isExcluded = line.rfind("128 ", 0) == 0 ||
                              line.find("ENTER AdapterGetProperties") != std::string::npos ||
                              line.find("SetDatabaseObjectProperties") != std::string::npos ||
                              line.rfind("16 GetAdapterProperties, ", 0) == 0;
      if (!isExcluded) lines.push_back(line);
    }
    return lines;
  }
  void ClearRecords() {
    m_Host.ClearCalls();
    ClearLines();
  }
  // Clears the recorded lines and notifications, but not the card library's hook and failures.
  void ClearLines() {
    const std::lock_guard<std::mutex> guard(m_Mutex);
    m_Lines.clear();
    m_LineTimes.clear();
    m_Notifications.clear();
  }

  Timestamps Notifications() const {
    const std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Notifications;
  }

  Lines Events() {
    Lines texts;
    for (const PI::CEvent& event : m_Host.CollectEvents()) texts.push_back(EventText(event));
    return texts;
  }

  // Returns only the value; for a choice, its name.
  std::string Status(std::uint64_t adapter) { return Value(adapter, PI::Property::STATUS); }
  std::string Reasons(std::uint64_t adapter) {
    return Value(adapter, PI::Property::ADDITIONAL_STATUS);
  }
  std::string Activity(std::uint64_t adapter) { return Value(adapter, PI::Property::ACTIVITY); }
  std::string Value(std::uint64_t object, std::uint32_t propertyId) {
    PI::CProperty property(PI::Property::UNDEFINED, false);
    const unsigned int result = m_Host.Property(object, propertyId, property);
    if (result != 0) return "result " + NameOrNumber(HostKit::Family::Error, result);
    const std::string text = Render(property);
    const std::size_t begin = text.find(" = ") + 3;
    const std::size_t end = std::min(text.find(" of ["), text.rfind(" ("));
    return text.substr(begin, end - begin);
  }
  std::uint64_t ChangeCount(std::uint64_t object) { return m_Host.ObjectOf(object).m_ChangeCount; }
  // The tree without properties and operations.
  Lines Tree() {
    Lines lines;
    for (const PI::CObject& object : m_Host.Topology()) lines.push_back(Render(object));
    return lines;
  }

  // Locks held by the test's own thread do not count.
  static void ExpectNoLockHeld() {
    for (const HostKit::LockView& lock : HostKit::Locks()) {
      EXPECT_TRUE(lock.owner.empty() || lock.owner == "main")
          << lock.owner << " holds " << PluginLockName(lock.ordinal)
          << ", but the plug-in must release its locks before it notifies the host";
    }
  }

  // The rule that is broken if a wake-up or a scan of the worker has an unexpected time.
  std::string TimingRule() const {
    const unsigned long seconds = std::stoul(m_PollInterval);
    return "With PollInterval=" + m_PollInterval + ", the worker polls " +
           std::to_string(seconds * 1000 / 3) +
           " ms after the end of the previous poll. The first poll more than " +
           std::to_string(seconds * 1000) + " ms after the last scan starts another scan.";
  }

 private:
  void Keep(const HostKit::TraceLine& line) {
    RecordTrace(line);
    const unsigned long ms = NowMs();
    const std::string text = std::to_string(line.level) + " " + line.text;
    if (m_OnLine) m_OnLine(text);
    CheckFirstWakeUp(text, ms);
    const std::lock_guard<std::mutex> guard(m_Mutex);
    m_Lines.push_back(text);
    m_LineTimes.push_back(ms);
  }

  // Explains a wrong interval in every test, because the failures that it causes do not.
  void CheckFirstWakeUp(const std::string& line, unsigned long ms) {
    const bool isPoll = line == "4 Worker() timeout event received";
    if (!isPoll && line != "2 Worker() before restart interval") return;
    if (m_HasWokenUp.exchange(true) || !isPoll) return;
    EXPECT_EQ(ms, std::stoul(m_PollInterval) * 1000 / 3)
        << "The first poll of the worker came at the wrong time. " << TimingRule();
  }

  void RecordNotification(const IPLUGINAPI* plugin) {
    if (m_OneWorker) ExpectNoLockHeld();
    EXPECT_EQ(plugin, m_Host.Plugin());
    const unsigned long ms = NowMs();
    {
      const std::lock_guard<std::mutex> guard(m_Mutex);
      m_Notifications.push_back(ms);
    }
    if (m_OnNotify) m_OnNotify();
  }

  void Await(const std::string& line, std::size_t count) {
    const std::size_t wanted = TimesOf(line).size() + count;
    constexpr int kMaxAttempts = 100000;
    for (int i = 0; i < kMaxAttempts && TimesOf(line).size() < wanted; ++i) SleepFor(10);
    ASSERT_GE(TimesOf(line).size(), wanted) << line;
    Settle();
  }

  std::string m_PollInterval = "15";
  std::atomic<bool> m_HasWokenUp{false};
  mutable std::mutex m_Mutex;
  Lines m_Lines;
  Timestamps m_LineTimes;
  Timestamps m_Notifications;

 protected:
  unsigned long m_Begin = 0;
  // False for two workers: one may hold locks while the other notifies the host.
  bool m_OneWorker = true;
  // Called on the worker's thread; set them while it waits.
  std::function<void()> m_OnNotify;
  std::function<void(const std::string& line)> m_OnLine;
  SimulatedHost m_Host;  // destroyed first
};

}  // namespace CorvaneTest
