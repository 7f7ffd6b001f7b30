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

// Thousands of steps. More is a wrong file.
constexpr std::size_t kLargestFile = 1 << 20;

// False if the observer wants to stop. Time is the sum of the waits and not read from a clock, so
// that a suspended machine continues where it was, and virtual time works.
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
    const std::string said = step.say.empty() ? "" : " (" + step.say + ")";
    throw std::runtime_error("step " + std::to_string(index + 1) + " of " +
                             std::to_string(scenario.steps.size()) + said + ": " + error.what());
  }
}

}  // namespace

Scenario ReadScenario(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path.string() + ": cannot be opened");
  std::string text(kLargestFile + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad()) throw std::runtime_error(path.string() + ": cannot be read");
  text.resize(static_cast<std::size_t>(file.gcount()));
  try {
    if (text.size() > kLargestFile) throw std::runtime_error("is too large for a scenario");
    return ParseScenario(text);
  } catch (const std::runtime_error& error) {
    // A name from the file that is part of the message may contain anything.
    throw std::runtime_error(Base::Printable(path.string() + ": " + error.what()));
  }
}

std::size_t PlayScenario(const Scenario& scenario, StateFile& file, double speed,
                         const PlayObserver& observer) {
  // A missing or damaged file is reported at once, not after the first wait.
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
