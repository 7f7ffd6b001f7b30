// How a command ends: the exit codes, which are a contract with scripts, and the exception that
// carries what went wrong to the one place that reports it.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace Console {

enum class ExitCode : int {
  Done = 0,  // also when there was nothing to do
  Failed = 1,
  Usage = 2,
  NoObject = 3,  // no such object, or more than one
  Refused = 4,
  PluginUnfit = 5,  // not loaded, or not fit for this host
  Permission = 6,
  TimedOut = 7,
  Stopped = 130,
  // Of `check` alone, whose codes are those of monitoring systems.
  Warning = 1,
  Critical = 2,
  Unknown = 3
};

// Something that ends the command. Reported as "WHAT failed: WHY" and what to do then.
class Failure : public std::exception {
 public:
  // `id` is a stable word for machines. At most three lines of `advice` are shown.
  Failure(ExitCode code, std::string id, const std::string& what, const std::string& why,
          std::vector<std::string> advice = {});

  // For what is no failure of something: the text is all of it.
  Failure(ExitCode code, std::string id, std::string text, std::vector<std::string> advice = {});

  const char* what() const noexcept override { return m_Text.c_str(); }

  const ExitCode m_Code;
  const std::string m_Id;
  const std::string m_Text;
  const std::vector<std::string> m_Advice;
};

// A failed command of the plug-in, by the number that it returned.
Failure PluginFailure(const std::string& what, std::uint32_t error);

// A signal ended the command; `text` is that of a `Stopped`.
Failure StopFailure(std::string text, std::vector<std::string> advice = {});

// The words given are wrong. Without advice the help is pointed out.
Failure UsageFailure(const std::string& why, std::vector<std::string> advice = {});

// "Did you mean ...?" for a mistyped `word`, or nothing when no candidate is near.
std::vector<std::string> DidYouMean(const std::string& word,
                                    const std::vector<std::string>& candidates);

// A signal asked the program to end.
class Stopped : public std::exception {
 public:
  explicit Stopped(std::string text = "Stopped.") : m_Text(std::move(text)) {}

  const char* what() const noexcept override { return m_Text.c_str(); }

 private:
  const std::string m_Text;
};

}  // namespace Console
