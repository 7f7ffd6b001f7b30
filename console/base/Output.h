// Results on standard output and diagnostics on standard error.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace Console {

// The id of a failure to write standard output.
inline constexpr const char* kWriteFailed = "WRITE_FAILED";

// The style of human-readable output, derived from the options, the environment and the terminal.
struct Style {
  bool m_Ascii = false;
  bool m_Color = false;
  bool m_Headings = true;
  // Times in tables are in the local time zone instead of UTC.
  bool m_LocalTime = false;
  // The width of the terminal in columns, or 0 if the output is not a terminal and must not be cut.
  std::size_t m_Width = 0;
};

// Reserves the program's standard output for the result, so that output of a plug-in cannot mix
// with it.
class ResultStream {
 public:
  // Redirects everything else that is written to standard output: to standard error if
  // `showOthers`, otherwise to /dev/null.
  explicit ResultStream(bool showOthers);
  ~ResultStream();
  ResultStream(const ResultStream&) = delete;
  ResultStream& operator=(const ResultStream&) = delete;

  // The width of the terminal in columns, or 0 if standard output is not a terminal.
  std::size_t TerminalWidth() const;
  // The stream, for full-screen output; null if it could not be opened.
  std::FILE* File() const { return m_File; }
  // Writes and flushes. Throws `Failure` if the text cannot be written; a closed pipe is ignored.
  void Write(const std::string& text) const;

 private:
  std::FILE* m_File = nullptr;
};

// A note or an error that is reported in addition to the result.
struct Message {
  std::string m_Severity;  // "note" or "error"
  std::string m_Id;
  std::string m_Text;
  std::vector<std::string> m_Advice;
};

// Which messages are printed.
enum class Verbosity { All, Errors, Silent };

// Prints messages on standard error and collects them for the JSON formats. Not thread-safe.
class Diagnostics {
 public:
  explicit Diagnostics(Verbosity verbosity) : m_Verbosity(verbosity) {}

  // Add a note or an error and print it if the verbosity includes it: the text, then up to three
  // lines of advice. `id` identifies the message to programs, for example "NO_EVENT_LOG".
  void Note(const std::string& id, const std::string& text,
            const std::vector<std::string>& advice = {});
  void Error(const std::string& id, const std::string& text,
             const std::vector<std::string>& advice = {});
  // All messages so far, including those that were not printed.
  const std::vector<Message>& Messages() const { return m_Messages; }

 private:
  friend class DeferredDiagnostics;
  void Print(const Message& message);

  const Verbosity m_Verbosity;
  std::vector<Message> m_Messages;
  bool m_IsDeferred = false;
  std::string m_Deferred;
};

// Defers the output of a `Diagnostics` during its lifetime and prints it when destroyed.
class DeferredDiagnostics {
 public:
  explicit DeferredDiagnostics(Diagnostics& diagnostics) : m_Diagnostics(diagnostics) {
    diagnostics.m_IsDeferred = true;
  }
  ~DeferredDiagnostics();
  DeferredDiagnostics(const DeferredDiagnostics&) = delete;
  DeferredDiagnostics& operator=(const DeferredDiagnostics&) = delete;

 private:
  Diagnostics& m_Diagnostics;
};

}  // namespace Console
