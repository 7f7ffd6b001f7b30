#include "cardsim/tool/PlayCommand.h"

#include <signal.h>

#include <cstdio>

#include "cardsim/scenario/Scenario.h"
#include "cardsim/tool/ToolOutput.h"

namespace CardSim {
namespace {

volatile sig_atomic_t g_Signal = 0;

void OnSignal(int number) {
  g_Signal = number;
}

// The first signal also restores the default action, so that a second one terminates the program
// immediately.
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

// Writes each line before the next wait, even if the output is a pipe.
void PrintNow(const std::string& line) {
  PrintLine(line);
  FlushOutput();
}

void PrintStep(std::uint64_t atMs, const std::string& text) {
  PrintNow(Seconds(atMs) + "  " + text);
}

bool IsInterrupted() {
  return g_Signal != 0;
}

}  // namespace

int Play(const std::string& path, const std::string& state, double speed) {
  const Scenario scenario = ReadScenario(path);
  CatchSignals();
  StateFile file(state);
  PrintNow(scenario.title);
  const std::size_t applied = PlayScenario(scenario, file, speed, {PrintStep, IsInterrupted});
  if (applied == scenario.steps.size()) return 0;
  PrintError("stopped before step " + std::to_string(applied + 1) + " of " +
             std::to_string(scenario.steps.size()));
  return 128 + g_Signal;
}

}  // namespace CardSim
