// What is fed with inputs from outside: one function for each way in.
#pragma once

#include <string>

namespace CorvaneFuzz {

// Takes one input, of any bytes. Returns whether it was accepted or refused as it should be; what
// must not happen ends the process.
using Run = void (*)(const std::string& input);

struct Target {
  const char* m_Name;
  Run m_Run;
};

// The target of that name; without one the process ends with a list of them.
const Target& FindTarget(const char* name);

void Cells(const std::string& input);
void Ini(const std::string& input);
void CardFile(const std::string& input);
void Scenario(const std::string& input);
void Selector(const std::string& input);
void Times(const std::string& input);
void Options(const std::string& input);
void Condition(const std::string& input);
void Format(const std::string& input);

}  // namespace CorvaneFuzz
