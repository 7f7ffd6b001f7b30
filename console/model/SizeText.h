// Sizes as text for people.
#pragma once

#include <cstdint>
#include <string>

namespace Console {

// Returns a size as vendors state it, in powers of 1000 and with three significant digits:
// "2.40 TB", "785 GB"; up to 4096 in bytes: "512 B".
std::string DecimalSizeText(std::uint64_t bytes);

// Returns a size in powers of 1024 with three significant digits: "2.18 TiB", "731 GiB", "512 B".
std::string BinarySizeText(std::uint64_t bytes);

}  // namespace Console
