// The two streams: the answer on standard output, talk on standard error.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace Console {

// How people's forms look; decided once, from options, environment and terminal.
struct Style {
  bool m_Ascii = false;
  bool m_Color = false;
  bool m_Headings = true;
};

// The program's standard output, taken away from everything else in the process: a plug-in that
// prints by itself must not spoil the answer.
class ResultStream {
 public:
  // What others print goes to standard error if `showOthers`, and is dropped if not.
  explicit ResultStream(bool showOthers);
  ~ResultStream();
  ResultStream(const ResultStream&) = delete;
  ResultStream& operator=(const ResultStream&) = delete;

  // Columns of the terminal, 0 when it is none.
  std::size_t TerminalWidth() const;
  // The stream itself, for a screen; null when there is none.
  std::FILE* File() const { return m_File; }
  // Writes and flushes. Throws `Failure` when the text cannot be written.
  void Write(const std::string& text);

 private:
  std::FILE* m_File = nullptr;
};

// Something said besides the answer.
struct Message {
  std::string m_Severity;  // "note" or "error"
  std::string m_Id;
  std::string m_Text;
  std::vector<std::string> m_Advice;
};

// How much of the talk is said aloud.
enum class Volume { All, Errors, Nothing };

// Collects what is said, for the machine forms, and says it on standard error.
class Diagnostics {
 public:
  explicit Diagnostics(Volume volume) : m_Volume(volume) {}

  void Note(const std::string& id, const std::string& text,
            const std::vector<std::string>& advice = {});
  void Error(const std::string& id, const std::string& text,
             const std::vector<std::string>& advice = {});
  const std::vector<Message>& Messages() const { return m_Messages; }

 private:
  friend class DeferredDiagnostics;
  void Say(const Message& message);

  const Volume m_Volume;
  std::vector<Message> m_Messages;
  bool m_IsHeld = false;
  std::string m_Held;
};

// Keeps what is said off the screen for as long as it lives, and lets it be said then.
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
