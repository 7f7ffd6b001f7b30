#include "cardsim/Owner.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "cardsim/CancellationShield.h"

namespace CardSim {
namespace {

struct ProcessLine {
  char state = 'X';
  std::uint64_t start = 0;
};

ProcessLine ReadProcessLine(std::int64_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  std::getline(file, text);
  // The second field is the program's name in brackets, which may itself hold blanks and brackets.
  const auto bracket = text.rfind(')');
  ProcessLine line;
  if (bracket == std::string::npos) return line;
  std::istringstream rest(text.substr(bracket + 1));
  rest >> line.state;
  std::string skipped;
  for (int field = 4; field < 22; ++field) rest >> skipped;
  rest >> line.start;
  return line;
}

}  // namespace

ProcessId ThisProcess() {
  const CancellationShield shield;
  const std::int64_t pid = getpid();
  return {pid, ReadProcessLine(pid).start};
}

bool IsAlive(const ProcessId& process) {
  const CancellationShield shield;
  const ProcessLine line = ReadProcessLine(process.pid);
  return line.state != 'X' && line.state != 'Z' && line.start == process.start;
}

}  // namespace CardSim
