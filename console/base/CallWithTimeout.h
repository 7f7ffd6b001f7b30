// Calls with a timeout, for functions that may hang.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "console/base/Deadline.h"

namespace Console {

// Whether a stop signal also ends the wait for a call (`Abandon`).
enum class OnStop { Abandon, Continue };

// Extra time for a slow call to return after its deadline or after a stop signal.
inline constexpr std::chrono::seconds kGrace(2);

// Runs `call` on a separate thread and returns its result. If `call` has not returned by `kGrace`
// after the deadline or a stop signal, returns empty and abandons the call, which continues until
// the program exits. Everything that `call` uses must therefore be owned by `call` or outlive the
// program. Throws `Failure` if no thread can be started, and whatever `call` throws.
std::optional<std::uint32_t> CallWithTimeout(std::function<std::uint32_t()> call,
                                             const Deadline& deadline,
                                             OnStop onStop = OnStop::Abandon);

// Marks the threads of a plug-in that cannot be stopped as abandoned: `ExitProgram` then exits
// without cleanup.
void AbandonThreads();

// Flushes the streams and exits. If calls or threads were abandoned, skips all other cleanup,
// because they may still be using global objects.
[[noreturn]] void ExitProgram(int code);

}  // namespace Console
