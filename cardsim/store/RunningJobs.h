// The running jobs of this process. A mark in the state file counts only while its job is running,
// so that a mark that could not be removed from the file does not keep the card busy. Thread-safe.
#pragma once

#include <cstdint>

#include "cardsim/store/State.h"

namespace CardSim {

// A job of this process. It runs until the object is destroyed or, after `Keep`, until `EndJob`.
class RunningJob {
 public:
  // Starts a job with a number that no other job of this process has.
  RunningJob();
  ~RunningJob();
  RunningJob(const RunningJob&) = delete;
  RunningJob& operator=(const RunningJob&) = delete;
  std::uint64_t Number() const { return m_Number; }
  // Lets the job outlive the object; `EndJob` must end it.
  void Keep() { m_IsKept = true; }

 private:
  const std::uint64_t m_Number;
  bool m_IsKept = false;
};

// Ends a job of this process. Does nothing if it has already ended.
void EndJob(std::uint64_t number) noexcept;

// Whether the job is still running in its process, which may be another one.
bool IsRunning(const JobMark& mark);

}  // namespace CardSim
