// The exit codes, which scripts rely on, and the exceptions that end a command.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace Console {

enum class ExitCode : int {
  Done = 0,  // or nothing to do
  Failed = 1,
  Usage = 2,
  NoObject = 3,  // no such object, or more than one
  Refused = 4,
  PluginUnusable = 5,  // missing or incompatible
  Permission = 6,
  TimedOut = 7,
  PartlyFailed = 8,  // some objects succeeded, and some failed
  Stopped = 130,
  // Used only by `check`, which returns the codes that monitoring systems expect.
  Warning = 1,
  Critical = 2,
  Unknown = 3
};

// An error that ends the command. It is reported as "WHAT: WHY", followed by lines of advice.
class Failure : public std::exception {
 public:
  // `id` is a stable identifier for programs. At most three lines of `advice` are shown.
  Failure(ExitCode code, std::string id, const std::string& what, const std::string& why,
          std::vector<std::string> advice = {});

  // `text` is the complete message.
  Failure(ExitCode code, std::string id, std::string text, std::vector<std::string> advice = {});

  const char* what() const noexcept override { return m_Text.c_str(); }

  const ExitCode m_Code;
  const std::string m_Id;
  const std::string m_Text;
  const std::vector<std::string> m_Advice;
};

// Returns the failure of a command for which the plug-in returned `error`.
Failure PluginFailure(const std::string& what, std::uint32_t error);

// Returns the failure of a command that was interrupted by a signal. `text` is the message of the
// `Stopped` exception.
Failure StopFailure(std::string text, std::vector<std::string> advice = {});

// The identifier of a usage error.
inline constexpr const char* kUsageError = "USAGE";

// Returns a usage error. The report adds the name of the command, and refers to its help if there
// is no advice.
Failure UsageFailure(const std::string& why, std::vector<std::string> advice = {});

// Returns "Did you mean ...?" for a mistyped `word`, or empty if no candidate is similar.
std::vector<std::string> DidYouMean(const std::string& word,
                                    const std::vector<std::string>& candidates);

// Thrown after a signal has interrupted the program.
class Stopped : public std::exception {
 public:
  explicit Stopped(std::string text = "interrupted") : m_Text(std::move(text)) {}

  const char* what() const noexcept override { return m_Text.c_str(); }

 private:
  const std::string m_Text;
};

}  // namespace Console
