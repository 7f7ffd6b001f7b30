// How long work tells of itself: a line with the elapsed time on a terminal, plain lines otherwise.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "console/report/CommandContext.h"

namespace Console {

// For one thread.
class Progress {
 public:
  // Says at once what begins, such as "Attaching a0"; `state` stands in the lines of -o jsonl.
  Progress(Context& context, const std::string& doing, Json state);
  // Ends the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Call now and then: says that the work goes on, when it is time to say so again.
  void Tick();
  std::chrono::milliseconds Elapsed() const;
  // Whether it writes one line over and over.
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

// Ticks from a thread of its own while the caller is held up in a call that cannot be interrupted,
// and tells whoever asks the program to end that it cannot. Does nothing without a terminal.
class BackgroundTicks {
 public:
  explicit BackgroundTicks(Progress& progress);
  ~BackgroundTicks();
  BackgroundTicks(const BackgroundTicks&) = delete;
  BackgroundTicks& operator=(const BackgroundTicks&) = delete;

 private:
  void Run(Progress& progress);

  std::mutex m_Lock;
  std::condition_variable m_Ended;
  bool m_IsEnded = false;
  std::thread m_Thread;
};

}  // namespace Console
