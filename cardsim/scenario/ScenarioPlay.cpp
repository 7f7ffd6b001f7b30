#include <algorithm>
#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>
#include <fstream>
#include <new>
#include <stdexcept>

#include "base/Printable.h"
#include "cardsim/scenario/Scenario.h"

namespace CardSim {
namespace {

// Enough for thousands of steps; a larger file is not a scenario.
constexpr std::size_t kMaxFileSize = 1 << 20;

// Returns false if the observer wants to stop. Adds up the sleeps instead of reading a clock, so
// that playing continues at the same position after the machine was suspended, and virtual time
// works.
bool Wait(double milliseconds, const PlayObserver& observer) {
  using boost::chrono::microseconds;
  const microseconds slice(50000);
  microseconds left(static_cast<std::int64_t>(milliseconds * 1000));
  while (!observer.shouldStop()) {
    if (left.count() <= 0) return true;
    boost::this_thread::sleep_for(std::min(left, slice));
    left -= slice;
  }
  return false;
}

std::string Apply(const Scenario& scenario, std::size_t index, StateFile& file) {
  const Step& step = scenario.steps[index];
  try {
    const std::string change = step.apply(file);
    return step.say.empty() ? change : step.say;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    const std::string label = step.say.empty() ? "" : " (" + step.say + ")";
    throw std::runtime_error("step " + std::to_string(index + 1) + " of " +
                             std::to_string(scenario.steps.size()) + label + ": " + error.what());
  }
}

}  // namespace

Scenario ReadScenario(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path.string() + ": cannot be opened");
  std::string text(kMaxFileSize + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad()) throw std::runtime_error(path.string() + ": cannot be read");
  text.resize(static_cast<std::size_t>(file.gcount()));
  try {
    if (text.size() > kMaxFileSize) throw std::runtime_error("is too large for a scenario");
    return ParseScenario(text);
  } catch (const std::runtime_error& error) {
    // The message may contain a name from the file, which may contain any character.
    throw std::runtime_error(Base::Printable(path.string() + ": " + error.what()));
  }
}

std::size_t PlayScenario(const Scenario& scenario, StateFile& file, double speed,
                         const PlayObserver& observer) {
  // Reports a missing or damaged file before the first wait.
  file.Cards();
  std::uint64_t atMs = 0;
  for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
    const std::uint64_t afterMs = scenario.steps[i].afterMs;
    if (!Wait(static_cast<double>(afterMs) / speed, observer)) return i;
    atMs += afterMs;
    observer.onStep(atMs, Apply(scenario, i, file));
  }
  return scenario.steps.size();
}

}  // namespace CardSim
