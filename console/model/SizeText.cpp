#include "console/model/SizeText.h"

#include <fmt/format.h>

#include <cstddef>

namespace Console {
namespace {

// Sector sizes such as 4096 are customarily given in bytes.
constexpr std::uint64_t kMaxInBytes = 4096;

constexpr const char* kDecimalSymbols[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
constexpr const char* kBinarySymbols[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};

// Returns the size with three significant digits, in the largest unit in which it is at least 1.
// Each symbol stands for `factor` units of the one before it.
template <std::size_t N>
std::string ScaledSize(std::uint64_t bytes, double factor, const char* const (&symbols)[N]) {
  if (bytes <= kMaxInBytes) return fmt::format("{} B", bytes);
  // A value that would be rounded up to the next unit has one digit more than its place.
  const double nextUnit = factor - 0.5;
  auto scaled = static_cast<double>(bytes);
  std::size_t symbol = 0;
  while (scaled >= nextUnit && symbol + 1 < N) {
    scaled /= factor;
    ++symbol;
  }
  const int decimals = scaled < 9.995 ? 2 : scaled < 99.95 ? 1 : 0;
  return fmt::format("{:.{}f} {}", scaled, decimals, symbols[symbol]);
}

}  // namespace

std::string DecimalSizeText(std::uint64_t bytes) {
  return ScaledSize(bytes, 1000, kDecimalSymbols);
}

std::string BinarySizeText(std::uint64_t bytes) {
  return ScaledSize(bytes, 1024, kBinarySymbols);
}

}  // namespace Console
