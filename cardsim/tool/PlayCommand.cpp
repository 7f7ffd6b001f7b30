#include "cardsim/tool/PlayCommand.h"

#include <signal.h>

#include <cstdio>

#include "cardsim/scenario/Scenario.h"
#include "cardsim/tool/Output.h"

namespace CardSim {
namespace {

volatile sig_atomic_t g_Signal = 0;

void OnSignal(int number) {
  g_Signal = number;
}

// The first signal also restores the default action, so that a second one ends the program at once.
void CatchSignals() {
  struct sigaction action = {};
  sigemptyset(&action.sa_mask);
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  action.sa_handler = OnSignal;
  for (const int number : {SIGINT, SIGTERM}) sigaction(number, &action, nullptr);
}

std::string Seconds(std::uint64_t milliseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%6.1f s", static_cast<double>(milliseconds) / 1000);
  return text;
}

// Each line is out before the next wait, also into a pipe.
void TellNow(const std::string& line) {
  Say(line);
  FlushOutput();
}

void Tell(std::uint64_t atMs, const std::string& text) {
  TellNow(Seconds(atMs) + "  " + text);
}

bool HasEnough() {
  return g_Signal != 0;
}

}  // namespace

int Play(const std::string& scenario, const std::string& state, double speed) {
  const Scenario story = ReadScenario(scenario);
  CatchSignals();
  StateFile file(state);
  TellNow(story.title);
  const std::size_t made = PlayScenario(story, file, speed, {Tell, HasEnough});
  if (made == story.steps.size()) return 0;
  Complain("stopped before step " + std::to_string(made + 1) + " of " +
           std::to_string(story.steps.size()));
  return 128 + g_Signal;
}

}  // namespace CardSim
