// The running jobs of this process. A job record in the state file is ignored once its job has
// ended, so a record that could not be removed does not keep the card busy. Thread-safe.
#pragma once

#include <cstdint>

#include "cardsim/store/State.h"

namespace CardSim {

// A job of this process. It runs until the object is destroyed or, after `Keep`, until `EndJob`.
class RunningJob {
 public:
  // Starts a job with a number that is unique in this process.
  RunningJob();
  ~RunningJob();
  RunningJob(const RunningJob&) = delete;
  RunningJob& operator=(const RunningJob&) = delete;
  std::uint64_t Number() const { return m_Number; }
  // Keeps the job running after the object is destroyed, until `EndJob` is called.
  void Keep() { m_IsKept = true; }

 private:
  const std::uint64_t m_Number;
  bool m_IsKept = false;
};

// Ends a job of this process. Does nothing if it has already ended.
void EndJob(std::uint64_t number) noexcept;

// Whether the job is still running. A job of another process is considered running as long as that
// process exists.
bool IsRunning(const JobRecord& record);

}  // namespace CardSim
