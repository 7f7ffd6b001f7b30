// The program `cardsim`, run by a shell.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <set>
#include <sstream>
#include <string>

#include "tests/cardsim/Fixture.h"

class Program : public SimulatedCards {
 protected:
  // Runs `cardsim` with these arguments. Returns its output, errors and exit code as one string.
  std::string Run(const std::string& arguments) { return RunProgram(CARDSIM_PROGRAM, arguments); }

  // Like `Run`, for a copy of the program.
  std::string RunProgram(const std::string& program, const std::string& arguments) {
    const std::string out = (m_Directory / "out").string();
    const std::string err = (m_Directory / "err").string();
    const int status = std::system((program + " " + arguments + " >" + out + " 2>" + err).c_str());
    return Slurp(out) + Slurp(err) + "[" + std::to_string(WEXITSTATUS(status)) + "]";
  }

  // Returns the commands that the program's help lists.
  std::set<std::string> Commands() {
    std::istringstream help(Run("--help"));
    std::set<std::string> names;
    bool isList = false;
    for (std::string line; std::getline(help, line);) {
      if (line == "Commands:") {
        isList = true;
      } else if (line.rfind("  ", 0) != 0) {
        isList = false;
      } else if (isList && line[2] != ' ') {
        names.insert(line.substr(2, line.find(' ', 2) - 2));
      }
    }
    return names;
  }
};
