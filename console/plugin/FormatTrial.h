// Checking the parameters of a format with the card.
#pragma once

#include <cstdint>

#include "host/PluginInterface.h"

namespace Console {

// Configures a format with the operation's sector size and percentage, without starting it, which
// changes nothing. Returns `PI::ERR_COMMAND_ERROR` if the card rejects a parameter; the reason is
// recorded as a `CardError`. Returns `PI::SUCCESS` also if the card cannot be asked. `plugin` is
// initialized. Thread-safe.
std::uint32_t TryFormat(IPLUGINAPI& plugin, std::uint64_t drive, const PI::COperation& operation);

}  // namespace Console
