// The two streams: results on standard output, diagnostics on standard error.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace Console {

// How output for people is drawn; decided once from options, environment and terminal.
struct Style {
  bool m_Ascii = false;
  bool m_Color = false;
  bool m_Headings = true;
};

// The program's standard output, reserved for the result: what a plug-in prints must not mix with
// it.
class ResultStream {
 public:
  // What others print to standard output is sent to standard error if `showOthers`, else dropped.
  explicit ResultStream(bool showOthers);
  ~ResultStream();
  ResultStream(const ResultStream&) = delete;
  ResultStream& operator=(const ResultStream&) = delete;

  // Columns of the terminal, 0 if it is not a terminal.
  std::size_t TerminalWidth() const;
  // The stream itself, for a screen; null if it could not be opened.
  std::FILE* File() const { return m_File; }
  // Writes and flushes. Throws `Failure` when the text cannot be written.
  void Write(const std::string& text) const;

 private:
  std::FILE* m_File = nullptr;
};

// A message in addition to the result.
struct Message {
  std::string m_Severity;  // "note" or "error"
  std::string m_Id;
  std::string m_Text;
  std::vector<std::string> m_Advice;
};

// Which messages are printed.
enum class Verbosity { All, Errors, Nothing };

// Collects messages for the machine formats and prints them on standard error. For one thread.
class Diagnostics {
 public:
  explicit Diagnostics(Verbosity verbosity) : m_Verbosity(verbosity) {}

  // Adds a note or an error, and prints it as the verbosity says: the text, then up to three
  // lines of advice. `id` identifies the message to programs: "NO_EVENT_LOG".
  void Note(const std::string& id, const std::string& text,
            const std::vector<std::string>& advice = {});
  void Error(const std::string& id, const std::string& text,
             const std::vector<std::string>& advice = {});
  // All messages so far, also those that were not printed.
  const std::vector<Message>& Messages() const { return m_Messages; }

 private:
  friend class DeferredDiagnostics;
  void Say(const Message& message);

  const Verbosity m_Verbosity;
  std::vector<Message> m_Messages;
  bool m_IsHeld = false;
  std::string m_Held;
};

// Holds back messages while it exists, and prints them when destroyed.
class DeferredDiagnostics {
 public:
  explicit DeferredDiagnostics(Diagnostics& diagnostics) : m_Diagnostics(diagnostics) {
    diagnostics.m_IsHeld = true;
  }
  ~DeferredDiagnostics();
  DeferredDiagnostics(const DeferredDiagnostics&) = delete;
  DeferredDiagnostics& operator=(const DeferredDiagnostics&) = delete;

 private:
  Diagnostics& m_Diagnostics;
};

}  // namespace Console
