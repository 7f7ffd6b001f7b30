// The jobs that this process runs. A mark in the state file counts only while its job is among
// them: so it cannot keep a card busy where there was no memory to take it out of the file.
#pragma once

#include <cstdint>

#include "cardsim/store/State.h"

namespace CardSim {

// A job of this process, running from now on until its end or, once it was kept, until `EndJob`.
class RunningJob {
 public:
  RunningJob();
  ~RunningJob();
  RunningJob(const RunningJob&) = delete;
  RunningJob& operator=(const RunningJob&) = delete;
  std::uint64_t Number() const { return m_Number; }
  void Keep() { m_IsKept = true; }

 private:
  const std::uint64_t m_Number;
  bool m_IsKept = false;
};

void EndJob(std::uint64_t number) noexcept;

// Whether its process still runs the job, be it this one or another.
bool IsRunning(const JobMark& mark);

}  // namespace CardSim
