// How a command ends: the exit codes, which scripts rely on, and the exception that carries an
// error to the one place that reports it.
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
  Stopped = 130,
  // Of `check` only, which uses the codes of monitoring systems.
  Warning = 1,
  Critical = 2,
  Unknown = 3
};

// Something that ends the command, reported as "WHAT: WHY" and what to do then.
class Failure : public std::exception {
 public:
  // `id` is a stable word for machines. At most three lines of `advice` are shown.
  Failure(ExitCode code, std::string id, const std::string& what, const std::string& why,
          std::vector<std::string> advice = {});

  // With the whole text.
  Failure(ExitCode code, std::string id, std::string text, std::vector<std::string> advice = {});

  const char* what() const noexcept override { return m_Text.c_str(); }

  const ExitCode m_Code;
  const std::string m_Id;
  const std::string m_Text;
  const std::vector<std::string> m_Advice;
};

// A command that the plug-in failed with that number.
Failure PluginFailure(const std::string& what, std::uint32_t error);

// A signal ended the command; `text` is that of a `Stopped`.
Failure StopFailure(std::string text, std::vector<std::string> advice = {});

// A usage error. Without advice, the report refers to the help.
Failure UsageFailure(const std::string& why, std::vector<std::string> advice = {});

// "Did you mean ...?" for a mistyped `word`; empty when no candidate is similar.
std::vector<std::string> DidYouMean(const std::string& word,
                                    const std::vector<std::string>& candidates);

// A signal interrupted the program.
class Stopped : public std::exception {
 public:
  explicit Stopped(std::string text = "interrupted") : m_Text(std::move(text)) {}

  const char* what() const noexcept override { return m_Text.c_str(); }

 private:
  const std::string m_Text;
};

}  // namespace Console
