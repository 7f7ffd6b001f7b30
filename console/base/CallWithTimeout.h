// Calls that may never come back: whoever waits for them can be stopped, or has waited long enough.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "console/base/Deadline.h"

namespace Console {

// Whether a signal that asks the program to end also ends the wait for a call.
enum class OnStop { Abandon, Continue };

// Runs `call` in a thread of its own and gives its result. Nothing when it has not come back a
// moment after a signal came or the deadline was over: it is then abandoned, and goes on until the
// program ends. What it uses must be its own or outlive the program.
std::optional<std::uint32_t> CallWithTimeout(std::function<std::uint32_t()> call,
                                             const Deadline& deadline,
                                             OnStop onStop = OnStop::Abandon);

// For a plug-in that cannot be stopped: its threads go on until the program ends, as an abandoned
// call does.
void LeaveThreadsRunning();

// Ends the process, with what it has written. An abandoned call still runs in it: then nothing is
// cleaned up, since nothing may be taken from under the call.
[[noreturn]] void EndProgram(int code);

}  // namespace Console
