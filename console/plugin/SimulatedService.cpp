#include "console/plugin/SimulatedService.h"

#include <algorithm>

namespace Console {
namespace {

constexpr const char* kSimulated = "SIMULATED";

}  // namespace

void NoteSimulatedService(Diagnostics& diagnostics) {
  diagnostics.Note(kSimulated, "the cards of this service are simulated");
}

bool HasSimulatedService(const Diagnostics& diagnostics) {
  const auto& messages = diagnostics.Messages();
  return std::any_of(messages.begin(), messages.end(),
                     [](const Message& message) { return message.m_Id == kSimulated; });
}

}  // namespace Console
