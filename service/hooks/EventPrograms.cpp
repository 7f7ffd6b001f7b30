#include "service/hooks/EventPrograms.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <utility>

#include "base/Descriptor.h"
#include "base/ThreadName.h"
#include "base/TrustedPath.h"
#include "console/base/Failure.h"
#include "console/base/Number.h"
#include "console/base/TextFile.h"
#include "service/hooks/ProgramDirectory.h"
#include "service/hooks/ProgramRun.h"

namespace Hooks {
namespace {

using Json = nlohmann::ordered_json;

constexpr auto kReplace = Json::error_handler_t::replace;

// Returns empty if the file does not exist, contains no number, or could have been written by
// another user.
std::optional<std::int64_t> ReadNumber(const std::filesystem::path& file) {
  constexpr std::size_t kMaxDigits = 64;
  const Base::TrustedPath trusted = Base::ResolveTrusted(file);
  if (!trusted.m_TrustError.empty()) return std::nullopt;
  const Base::Descriptor opened =
      Base::OpenAt(AT_FDCWD, trusted.m_File.string(), O_RDONLY | O_NOFOLLOW);
  std::string text;
  if (!opened.IsOpen() || !Base::TrustErrorOfOpened(trusted, opened).empty()) return std::nullopt;
  if (Base::ReadAll(opened, kMaxDigits, text) != 0) return std::nullopt;
  return ParseStateFile(text);
}

// An environment variable cannot contain NUL.
std::string ValueOf(const Json& field) {
  std::string text = field.is_string() ? field.get<std::string>() : field.dump();
  text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  return text;
}

std::string VariableOf(const std::string& key) {
  std::string name = "CORVANE_";
  for (const char each : key) {
    name += each >= 'a' && each <= 'z' ? static_cast<char>(each - 'a' + 'A') : each;
  }
  return name;
}

}  // namespace

std::optional<std::int64_t> ParseStateFile(const std::string& text) {
  if (text.empty() || text.back() != '\n') return std::nullopt;
  const auto number = Console::ReadNumber<std::int64_t>(text.substr(0, text.size() - 1));
  return text.front() == '-' ? std::nullopt : number;
}

EventPrograms::EventPrograms(ProgramSettings settings) : m_Settings(std::move(settings)) {
  ReadStateFile();
  try {
    for (unsigned i = 0; i < m_Settings.m_Parallel; ++i) {
      m_Threads.emplace_back(&EventPrograms::RunThread, this);
    }
  } catch (...) {
    Stop();
    throw;
  }
}

void EventPrograms::ReadStateFile() {
  const std::filesystem::path& file = m_Settings.m_StateFile;
  if (file.empty()) return;
  m_LastEventNumber = ReadNumber(file);
  std::error_code ignored;
  if (m_LastEventNumber || !std::filesystem::exists(file, ignored)) return;
  Report(fmt::format("{} is not usable; skipping events that were logged before this start",
                     file.string()));
}

EventPrograms::~EventPrograms() {
  Stop();
}

void EventPrograms::Stop() {
  {
    const auto end = std::chrono::steady_clock::now() + m_Settings.m_StopTimeout;
    Base::MutexLock lock(m_Lock);
    m_IsStopping = true;
    m_Changed.NotifyAll();
    while (m_Running > 0 && m_Changed.WaitUntil(lock, end)) continue;
  }
  m_MustEnd = true;
  m_StopNow.Notify();
  for (std::thread& thread : m_Threads) thread.join();
}

void EventPrograms::SkipTo(std::int64_t number) {
  Record(number);
}

void EventPrograms::QueueEvent(Event event) {
  const std::int64_t number = event.m_Number;
  if (Enqueue(std::move(event))) return;
  Report(fmt::format("event queue full; event {} dropped", number));
}

bool EventPrograms::Enqueue(Event event) {
  const Base::MutexLock lock(m_Lock);
  if (m_Waiting.size() >= m_Settings.m_Queue) return false;
  m_Waiting.push_back(std::move(event));
  m_Changed.NotifyAll();
  return true;
}

void EventPrograms::RunThread() {
  Base::NameThread("event-programs");
  while (const auto event = Next()) {
    RunPrograms(*event);
    const Base::MutexLock lock(m_Lock);
    --m_Running;
    m_Changed.NotifyAll();
  }
}

// Returns the next event, after recording its number so that its programs never run twice. Returns
// empty when stopping.
std::optional<Event> EventPrograms::Next() {
  while (auto event = TakeNext()) {
    const bool isRecorded = Record(event->m_Number);
    EndRecording(isRecorded);
    if (isRecorded) return event;
  }
  return std::nullopt;
}

// Waits until the number of the previous event is recorded, so that the numbers are written in
// order.
std::optional<Event> EventPrograms::TakeNext() {
  Base::MutexLock lock(m_Lock);
  while (!m_IsStopping && (m_IsRecording || m_Waiting.empty())) m_Changed.Wait(lock);
  if (m_IsStopping) return std::nullopt;
  Event event = std::move(m_Waiting.front());
  m_Waiting.pop_front();
  m_IsRecording = true;
  ++m_Running;
  return event;
}

// An event that was not recorded is dropped.
void EventPrograms::EndRecording(bool isRecorded) {
  const Base::MutexLock lock(m_Lock);
  m_IsRecording = false;
  if (!isRecorded) --m_Running;
  m_Changed.NotifyAll();
}

bool EventPrograms::Record(std::int64_t number) const {
  if (m_Settings.m_StateFile.empty()) return true;
  try {
    Console::ReplaceTextFile(m_Settings.m_StateFile, std::to_string(number) + "\n");
    return true;
  } catch (const std::exception& failure) {
    Report(fmt::format("event {} dropped: {}", number, failure.what()));
    return false;
  }
}

void EventPrograms::RunPrograms(const Event& event) const {
  ProgramRun run;
  run.m_Input = event.m_Document.dump(-1, ' ', false, kReplace) + "\n";
  run.m_Environment = EnvironmentOf(event);
  run.m_Timeout = m_Settings.m_Timeout;
  run.m_Stop = m_StopNow.Number();
  for (const auto& file :
       FindPrograms(m_Settings.m_Directory, [this](const std::string& text) { Report(text); })) {
    if (m_MustEnd) return;
    run.m_File = file;
    const ProgramResult result = Run(run);
    std::istringstream lines(result.m_Output);
    for (std::string line; std::getline(lines, line);) {
      Report(fmt::format("{}: {}", file.filename().string(), line));
    }
    if (!result.m_Failure.empty()) {
      Report(fmt::format("{}: event {}: {}", file.filename().string(), event.m_Number,
                         result.m_Failure));
    }
  }
}

void EventPrograms::Report(const std::string& text) const {
  if (m_Settings.m_Report) m_Settings.m_Report("events.d: " + text);
}

std::vector<std::string> EnvironmentOf(const Event& event) {
  std::vector<std::string> variables = {
      "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C.UTF-8"};
  for (const auto& [key, field] : event.m_Document.items()) {
    if (field.is_null() || field.is_structured()) continue;
    variables.push_back(VariableOf(key) + "=" + ValueOf(field));
  }
  return variables;
}

}  // namespace Hooks
