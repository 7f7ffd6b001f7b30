// The jobs that this process runs. A mark in the state file counts only while its job is one of
// them, so that a mark that could not be removed from the file does not keep its card busy. May be
// called by any thread.
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

// Does nothing if the job has ended already.
void EndJob(std::uint64_t number) noexcept;

// Whether its process, this one or another, still runs the job.
bool IsRunning(const JobMark& mark);

}  // namespace CardSim
