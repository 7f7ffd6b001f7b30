// Message IDs of events in the journal, and the catalog that explains them.
#pragma once

#include <cstdint>
#include <string>

namespace Service {

// Returns the message ID of an event: 32 hexadecimal digits, the same in all versions.
std::string MessageIdOf(std::uint32_t event);

// Returns the catalog for journalctl -x, with the name, meaning and advice of each event.
std::string CatalogText();

}  // namespace Service
