#include <algorithm>
#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>
#include <fstream>
#include <new>
#include <stdexcept>

#include "cardsim/scenario/Scenario.h"
#include "cardsim/store/Printable.h"

namespace CardSim {
namespace {

// Thousands of steps. More is a wrong file.
constexpr std::size_t kLargestFile = 1 << 20;

// False when the audience had enough. The time is counted by the waits themselves and not read from
// a clock: a machine that was suspended goes on where it was, and virtual time will do.
bool Wait(double milliseconds, const Audience& audience) {
  using boost::chrono::microseconds;
  const microseconds slice(50000);
  microseconds left(static_cast<std::int64_t>(milliseconds * 1000));
  while (!audience.hasEnough()) {
    if (left.count() <= 0) return true;
    boost::this_thread::sleep_for(std::min(left, slice));
    left -= slice;
  }
  return false;
}

std::string Make(const Scenario& scenario, std::size_t index, StateFile& file) {
  const Step& step = scenario.steps[index];
  try {
    const std::string change = step.make(file);
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
    // A name that stands in a complaint may hold anything.
    throw std::runtime_error(Printable(path.string() + ": " + error.what()));
  }
}

std::size_t PlayScenario(const Scenario& scenario, StateFile& file, double speed,
                         const Audience& audience) {
  // A file that is missing or damaged is told at once, and not after the first wait.
  file.Cards();
  std::uint64_t atMs = 0;
  for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
    const std::uint64_t afterMs = scenario.steps[i].afterMs;
    if (!Wait(static_cast<double>(afterMs) / speed, audience)) return i;
    atMs += afterMs;
    audience.tell(atMs, Make(scenario, i, file));
  }
  return scenario.steps.size();
}

}  // namespace CardSim
