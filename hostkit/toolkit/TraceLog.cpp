#include <fcntl.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

#include "base/CancellationGuard.h"
#include "base/Descriptor.h"
#include "base/Printable.h"
#include "base/ThreadName.h"
#include "base/TrustRules.h"
#include "base/TrustedPath.h"
#include "host/Toolkit.h"
#include "hostkit/Tracing.h"
#include "hostkit/records/Files.h"
#include "hostkit/toolkit/Monitor.h"

namespace HostKit {

namespace {

constexpr std::size_t kFileBytes = 10 * 1024 * 1024;
constexpr std::size_t kOlderFiles = 3;

std::unique_ptr<spdlog::logger> CreateLogger(spdlog::sink_ptr sink) {
  auto logger = std::make_unique<spdlog::logger>("corvane", std::move(sink));
  logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(
      "%Y-%m-%dT%H:%M:%S.%eZ %v", spdlog::pattern_time_type::utc));
  logger->flush_on(spdlog::level::trace);
  // The default handler of spdlog prints the file name unescaped.
  logger->set_error_handler([isReported = false](const std::string& why) mutable {
    if (isReported) return;
    isReported = true;
    std::fprintf(stderr, "a trace line cannot be written: %s\n", Base::Printable(why).c_str());
  });
  return logger;
}

std::unique_ptr<spdlog::logger> OpenStandardErrorLog() {
  return CreateLogger(std::make_shared<spdlog::sinks::stderr_sink_st>());
}

void RequireTrusted(const std::string& trustError) {
  if (!trustError.empty()) throw spdlog::spdlog_ex(Base::Printable(trustError), EPERM);
}

// Creates the file without following links, because spdlog would follow them. Called before spdlog
// opens a file, including the next file when one is full. Once the file exists and is
// owned by this user, no other user can replace it.
void CreateNoFollow(const std::string& path) {
  const Base::TrustedPath trusted = Base::ResolveTrusted(path);
  RequireTrusted(trusted.m_TrustError);
  CreateDirectories(std::filesystem::path(path).parent_path());
  // Below /proc, the descriptors of a process are links to the open files.
  const int noFollow = path.rfind("/proc/", 0) == 0 ? 0 : O_NOFOLLOW;
  const Base::Descriptor file =
      Base::OpenAt(AT_FDCWD, path, O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | noFollow,
                   Base::NewFileMode(geteuid()));
  if (!file.IsOpen()) throw spdlog::spdlog_ex(Base::Printable(path), errno);
  if (noFollow != 0) RequireTrusted(Base::TrustErrorOfOpened(trusted, file));
  RequireTrusted(Base::ResolveTrusted(path).m_TrustError);
}

// Returns null if the file cannot be opened, with the reason in errno.
std::unique_ptr<spdlog::logger> OpenFileLog(const std::string& path) {
  const Base::TrustedPath file = Base::ResolveTrusted(path);
  errno = EPERM;
  if (!file.m_TrustError.empty()) return nullptr;
  spdlog::file_event_handlers handlers;
  handlers.before_open = CreateNoFollow;
  try {
    return CreateLogger(std::make_shared<spdlog::sinks::rotating_file_sink_st>(
        file.m_File.string(), kFileBytes, kOlderFiles, false, handlers));
  } catch (const spdlog::spdlog_ex&) {
    return nullptr;
  }
}

std::unique_ptr<spdlog::logger> OpenConfiguredLog() {
  const char* path = secure_getenv("CORVANE_TRACE_FILE");
  if (path == nullptr || *path == '\0') return OpenStandardErrorLog();
  auto log = OpenFileLog(path);
  if (log) return log;
  const std::string trustError = Base::ResolveTrusted(path).m_TrustError;
  std::fprintf(stderr, "CORVANE_TRACE_FILE cannot be opened: %s; tracing to standard error\n",
               Base::Printable(trustError.empty() ? path : trustError).c_str());
  return OpenStandardErrorLog();
}

// Formats one line of the log. Escapes line breaks, which a card's strings may contain.
std::string Render(const TraceLine& line) {
  return Base::Printable(std::to_string(line.level) + " [" + line.thread + "] " + line.module +
                         ' ' + line.file + ' ' + line.function + ':' + std::to_string(line.line) +
                         ' ' + line.text);
}

// The destination of trace lines. Never destroyed: modules may trace until the process exits.
class TraceLog {
 public:
  static TraceLog& Get() {
    static TraceLog& log = *new TraceLog;
    return log;
  }

  void SetSink(std::function<void(const TraceLine&)> sink) {
    const Base::MutexLock lock(m_Mutex);
    m_Sink = std::move(sink);
  }

  bool SetFile(const std::string& path) {
    auto log = path.empty() ? OpenStandardErrorLog() : OpenFileLog(path);
    if (!log) return false;
    const Base::MutexLock lock(m_Mutex);
    m_Log = std::move(log);
    return true;
  }

  void Write(const TraceLine& line);

 private:
  TraceLog() : m_Log(OpenConfiguredLog()) {}

  Base::Mutex m_Mutex;
  std::function<void(const TraceLine&)> m_Sink HOST_GUARDED_BY(m_Mutex);
  std::unique_ptr<spdlog::logger> m_Log HOST_GUARDED_BY(m_Mutex);
};

// Disables switch points: a sink may use the kit, for example to get the time, but no other thread
// may run while this one holds the log's native lock.
class Pin {
 public:
  Pin() : m_Self(Monitor::Self()), m_Before(m_Self.pinned) { m_Self.pinned = true; }
  ~Pin() { m_Self.pinned = m_Before; }
  Pin(const Pin&) = delete;
  Pin& operator=(const Pin&) = delete;

 private:
  ThreadRecord& m_Self;
  const bool m_Before;
};

void TraceLog::Write(const TraceLine& line) {
  const Pin pin;
  const Base::MutexLock lock(m_Mutex);
  if (m_Sink) {
    m_Sink(line);
    return;
  }
  // Uses the kit's time, so that the log of a run in virtual time shows virtual time.
  const std::chrono::milliseconds time(Monitor::Get().Scheduler().EpochMs());
  m_Log->log(spdlog::log_clock::time_point(time), spdlog::source_loc{}, spdlog::level::info,
             Render(line));
}

// Returns "CorvanePlugin" for "/src/CorvanePlugin.cpp".
std::string Stem(std::string_view path) {
  path.remove_prefix(path.rfind('/') + 1);
  return std::string(path.substr(0, path.find('.')));
}

}  // namespace

void SetTraceSink(std::function<void(const TraceLine&)> sink) {
  TraceLog::Get().SetSink(std::move(sink));
}

bool SetTraceFile(const std::string& path) {
  const Base::CancellationGuard guard;
  return TraceLog::Get().SetFile(path);
}

}  // namespace HostKit

namespace MBX::Internals {

CTraceStreamBuffer::CTraceStreamBuffer(unsigned int level, const Misc::CModuleInfo& module,
                                       const char* file, const char* function, int line)
    : m_Level(level), m_Module(module), m_File(file), m_Function(function), m_Line(line) {}

CTraceStreamBuffer::~CTraceStreamBuffer() {
  // Writing is a cancellation point, and a destructor must not be canceled. A line that cannot be
  // written, for example for lack of memory, is dropped: tracing must not terminate the host.
  const Base::CancellationGuard guard;
  try {
    HostKit::TraceLog::Get().Write({m_Level, m_Module.m_Name, HostKit::Stem(m_File), m_Function,
                                    m_Line, std::move(m_Text), Base::ThreadName()});
  } catch (...) {
  }
}

void CTraceStreamBuffer::Append(const std::string& text) {
  m_Text += text;
}

}  // namespace MBX::Internals
