// The identifiers of the events in the journal, and the catalog that explains them.
#pragma once

#include <cstdint>
#include <string>

namespace Service {

// The journal's identifier of an event number: 32 hexadecimal digits, the same in all versions.
std::string MessageIdOf(std::uint32_t event);

// The catalog for journalctl -x: for each event its sentence, its meaning and what to do.
std::string CatalogText();

}  // namespace Service
