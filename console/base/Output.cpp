#include "console/base/Output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/Printable.h"
#include "console/base/Failure.h"

namespace Console {
namespace {

constexpr std::size_t kMaxAdviceLines = 3;

Failure WriteFailure(int error) {
  return Failure(ExitCode::Failed, kWriteFailed, "cannot write the output", std::strerror(error));
}

}  // namespace

ResultStream::ResultStream(bool showOthers) {
  std::fflush(stdout);
  const int copy = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (copy < 0 && errno == EMFILE) {
    // No plug-in can be loaded either, so nothing else writes to standard output.
    m_File = stdout;
    return;
  }
  if (copy >= 0) m_File = fdopen(copy, "w");
  const int others = showOthers ? dup(STDERR_FILENO) : open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (others < 0) return;
  dup2(others, STDOUT_FILENO);
  if (others != STDOUT_FILENO) close(others);
}

ResultStream::~ResultStream() {
  if (m_File != nullptr && m_File != stdout) std::fclose(m_File);
}

std::size_t ResultStream::TerminalWidth() const {
  constexpr std::size_t kUnknownWidth = 80;
  if (m_File == nullptr || isatty(fileno(m_File)) == 0) return 0;
  winsize size = {};
  if (ioctl(fileno(m_File), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUnknownWidth;
  return size.ws_col;
}

void ResultStream::Write(const std::string& text) const {
  if (text.empty()) return;
  if (m_File == nullptr) throw WriteFailure(EBADF);
  const bool written = std::fwrite(text.data(), 1, text.size(), m_File) == text.size();
  if (written && std::fflush(m_File) == 0) return;
  // A closed pipe is not an error: readers such as head stop when they have enough.
  if (errno != EPIPE) throw WriteFailure(errno);
}

void Diagnostics::Note(const std::string& id, const std::string& text,
                       const std::vector<std::string>& advice) {
  m_Messages.push_back({"note", id, text, advice});
  if (m_Verbosity == Verbosity::All) Print(m_Messages.back());
}

void Diagnostics::Error(const std::string& id, const std::string& text,
                        const std::vector<std::string>& advice) {
  m_Messages.push_back({"error", id, text, advice});
  if (m_Verbosity != Verbosity::Silent) Print(m_Messages.back());
}

void Diagnostics::Print(const Message& message) {
  const char* prefix = message.m_Severity == "note" ? "note: " : "";
  std::string lines = fmt::format("corvane-host: {}{}\n", prefix, Base::Printable(message.m_Text));
  const std::size_t count = std::min(message.m_Advice.size(), kMaxAdviceLines);
  for (std::size_t i = 0; i < count; ++i) {
    lines += fmt::format("  {}\n", Base::Printable(message.m_Advice[i]));
  }
  if (m_IsDeferred) {
    m_Deferred += lines;
  } else {
    std::fputs(lines.c_str(), stderr);
  }
}

DeferredDiagnostics::~DeferredDiagnostics() {
  m_Diagnostics.m_IsDeferred = false;
  std::fputs(m_Diagnostics.m_Deferred.c_str(), stderr);
  m_Diagnostics.m_Deferred.clear();
}

}  // namespace Console
