// Errors of the card library. The plug-in reports all of them to its host as the same number, so
// the functions that the program exports in front of the library record them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Console {

// A call to the card library that failed.
struct CardError {
  std::string m_Function;    // "vsl_op_start"
  std::uint64_t m_Code = 0;  // a result of the library, never 0
  std::string m_Text;        // the library's reason; may be empty
};

// Records a failed call: for the command that runs on this thread or, if there is none, for the
// attach or detach that the plug-in runs on its own thread. Other calls without a command are those
// of scans and are not recorded. Thread-safe.
void RecordCardError(const char* function, std::uint64_t code, const char* text);

// Returns the error of the last attach or detach that failed since `ForgetJobError`. Thread-safe.
std::optional<CardError> LastJobError();
void ForgetJobError();

// Collects the errors of the command that runs on this thread during its lifetime.
class CardErrorScope {
 public:
  CardErrorScope();
  ~CardErrorScope();
  CardErrorScope(const CardErrorScope&) = delete;
  CardErrorScope& operator=(const CardErrorScope&) = delete;

  // Returns the last error, or empty.
  const std::optional<CardError>& Last() const { return m_Last; }

 private:
  friend void RecordCardError(const char* function, std::uint64_t code, const char* text);

  std::optional<CardError> m_Last;
  CardErrorScope* const m_pOuter;
};

}  // namespace Console
