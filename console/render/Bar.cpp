#include "console/render/Bar.h"

#include <algorithm>
#include <cmath>

namespace Console {

std::string Bar(double ratio, std::size_t columns, bool ascii) {
  const double filled = std::clamp(ratio, 0.0, 1.0) * static_cast<double>(columns);
  const auto full = static_cast<std::size_t>(std::lround(filled));
  std::string bar;
  for (std::size_t i = 0; i < columns; ++i) {
    bar += i < full ? (ascii ? "#" : "█") : (ascii ? "." : "░");
  }
  return bar;
}

}  // namespace Console
