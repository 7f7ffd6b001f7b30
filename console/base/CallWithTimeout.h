// Calls that may never return: waiting for them ends on a signal or a deadline.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "console/base/Deadline.h"

namespace Console {

// Whether a stop signal also ends the wait for a call.
enum class OnStop { Abandon, Continue };

// A call that is slow but not stuck gets this long to return after its deadline.
inline constexpr std::chrono::seconds kGrace(2);

// Runs `call` in a thread of its own and returns its result. Empty when the call has not returned
// two seconds after a signal or the deadline: it is then abandoned and continues until the program
// exits. It must own what it uses, or that must outlive the program.
std::optional<std::uint32_t> CallWithTimeout(std::function<std::uint32_t()> call,
                                             const Deadline& deadline,
                                             OnStop onStop = OnStop::Abandon);

// For a plug-in that cannot be stopped: its threads continue until the program exits, as an
// abandoned call does.
void AbandonThreads();

// Flushes the streams and exits. If an abandoned call is still running, nothing is cleaned up,
// because the call may be using it.
[[noreturn]] void ExitProgram(int code);

}  // namespace Console
