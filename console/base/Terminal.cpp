#include "console/base/Terminal.h"

#include <histedit.h>
#include <stdlib.h>
#include <unistd.h>

#include <boost/algorithm/string/trim.hpp>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "console/base/Deadline.h"
#include "console/base/StopSignals.h"

namespace Console {
namespace {

// Reads one line of input with libedit, which writes to standard error. Disables the history and
// the user's key bindings.
class LineEditor {
 public:
  explicit LineEditor(std::string prompt)
      : m_Prompt(std::move(prompt)),
        m_pEditor(el_init("corvane-host", stdin, stderr, stderr), el_end) {
    if (m_pEditor == nullptr) throw std::bad_alloc();
    el_set(m_pEditor.get(), EL_CLIENTDATA, this);
    el_set(m_pEditor.get(), EL_PROMPT, PromptOf);
    el_set(m_pEditor.get(), EL_EDITOR, "emacs");
    el_set(m_pEditor.get(), EL_GETCFN, ReadCharacter);
  }

  // Returns empty at the end of input and on a stop signal.
  std::optional<std::string> Read() {
    int count = 0;
    const char* const line = el_gets(m_pEditor.get(), &count);
    if (line == nullptr || count <= 0) return std::nullopt;
    return std::string(line, static_cast<std::size_t>(count));
  }

 private:
  static LineEditor& Of(EditLine* editor) {
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<LineEditor*>(self);
  }

  static char* PromptOf(EditLine* editor) { return Of(editor).m_Prompt.data(); }

  // libedit's own function continues reading after a signal; this one reports the end of input. It
  // reads single bytes, so that nothing beyond the line is consumed.
  static int ReadCharacter(EditLine* editor, wchar_t* character) {
    std::mbstate_t& state = Of(editor).m_State;
    while (true) {
      const bool readable = WaitReadable(STDIN_FILENO, Deadline().Remaining());
      if (IsStopRequested()) return 0;
      if (!readable) continue;
      char byte = 0;
      if (read(STDIN_FILENO, &byte, 1) != 1) return 0;
      const std::size_t length = std::mbrtowc(character, &byte, 1, &state);
      if (length <= 1) return 1;
      if (length == static_cast<std::size_t>(-1)) state = {};  // skip an invalid byte
    }
  }

  std::string m_Prompt;
  std::mbstate_t m_State = {};
  const std::unique_ptr<EditLine, void (*)(EditLine*)> m_pEditor;
};

}  // namespace

bool CanPrompt(const Options& options) {
  return !options.m_NoInput && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

bool CanRewriteLine() {
  const char* terminalType = secure_getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && terminalType != nullptr &&
         std::strcmp(terminalType, "dumb") != 0;
}

std::string PromptLine(const std::string& question) {
  const std::size_t lastLine = question.rfind('\n') + 1;
  std::fputs(question.substr(0, lastLine).c_str(), stderr);
  LineEditor editor(question.substr(lastLine));
  const std::optional<std::string> line = editor.Read();
  if (!line) std::fputs("\n", stderr);
  ThrowIfStopped();
  return boost::trim_copy(line.value_or(""));
}

}  // namespace Console
