// Timeouts and results of waits for the toolkit's locks, events and threads.
#pragma once

namespace NAMESPACE_Corvane {

constexpr unsigned int kWaitInfinite = 0xFFFFFFFF;  // as a timeout: no limit

constexpr unsigned int kWaitSucceeded = 1;
constexpr unsigned int kWaitTimedOut = 130;

}  // namespace NAMESPACE_Corvane
