// Progress of long operations, on standard error: on a terminal, one line with the elapsed time;
// otherwise, one plain line at the start. With -o jsonl, JSON lines on standard output instead.
#pragma once

#include <chrono>
#include <string>
#include <thread>

#include "base/Mutex.h"
#include "console/report/CommandContext.h"

namespace Console {

// Not thread-safe.
class Progress {
 public:
  // Shows `doing`, such as "Attaching a0". With -o jsonl, each line includes `state`.
  Progress(Context& context, const std::string& doing, Json state);
  // On a terminal, prints the final elapsed time and ends the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Call regularly: prints progress when it is due.
  void Tick();
  std::chrono::milliseconds Elapsed() const;
  // Whether progress is shown by rewriting one line.
  bool Rewrites() const { return m_Rewrites; }

 private:
  void Draw();
  void EmitLine();

  Context& m_Context;
  const std::string m_Doing;
  const Json m_State;
  const bool m_Rewrites;
  const std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
  std::chrono::milliseconds m_NextLine;
};

// Calls `Tick` from a separate thread during a format, which cannot be interrupted, if progress
// rewrites a line. A stop signal prints that the format continues. A second one prints this again
// and terminates the program.
class BackgroundTicks {
 public:
  explicit BackgroundTicks(Progress& progress);
  ~BackgroundTicks();
  BackgroundTicks(const BackgroundTicks&) = delete;
  BackgroundTicks& operator=(const BackgroundTicks&) = delete;

 private:
  void Run(Progress& progress);

  Base::Mutex m_Lock;
  Base::ConditionVariable m_Ended;
  bool m_IsEnded HOST_GUARDED_BY(m_Lock) = false;
  std::thread m_Thread;
};

}  // namespace Console
