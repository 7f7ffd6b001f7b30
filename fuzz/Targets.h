// The fuzz targets: one function per kind of external input.
#pragma once

#include <string>

namespace CorvaneFuzz {

// Passes one input of arbitrary bytes to the code under test. Returns if the code accepts or
// rejects it correctly, and aborts otherwise.
using Run = void (*)(const std::string& input);

struct Target {
  const char* m_Name;
  Run m_Run;
};

// Returns the target of that name; if there is none, prints the targets and exits with 2.
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
void Request(const std::string& input);
void Escapes(const std::string& input);
void EntityTag(const std::string& input);
void Body(const std::string& input);
void Records(const std::string& input);
void Frames(const std::string& input);
void SessionReplies(const std::string& input);
void StateReplies(const std::string& input);
void Problem(const std::string& input);
void Stream(const std::string& input);
void WorkerDocuments(const std::string& input);
void ListenAddress(const std::string& input);
void HostHeader(const std::string& input);
void Query(const std::string& input);
void EventId(const std::string& input);
void IdempotencyKey(const std::string& input);
void StateFile(const std::string& input);
void LockFile(const std::string& input);
void StateCells(const std::string& input);

}  // namespace CorvaneFuzz
