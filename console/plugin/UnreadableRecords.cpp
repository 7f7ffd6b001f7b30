#include "console/plugin/UnreadableRecords.h"

#include <regex>
#include <vector>

namespace Console {
namespace {

constexpr const char* kNoKnownCards = "NO_KNOWN_CARDS";

}  // namespace

Failure UnreadableRecordsFailure(const std::string& cause, const std::vector<std::string>& advice) {
  std::vector<std::string> lines = {"Missing cards and acknowledgments are not shown."};
  lines.insert(lines.end(), advice.begin(), advice.end());
  return Failure(ExitCode::Failed, kNoKnownCards, "cannot read the known cards", cause, lines);
}

void ReportUnreadableRecords(const Failure& failure, Diagnostics& diagnostics) {
  if (!UnreadableRecords(diagnostics).empty()) return;
  diagnostics.Error(failure.m_Id, failure.m_Text, failure.m_Advice);
}

std::string UnreadableRecords(const Diagnostics& diagnostics) {
  for (const Message& message : diagnostics.Messages()) {
    if (message.m_Id == kNoKnownCards) return message.m_Text;
  }
  return {};
}

void RequireNoPosition(const std::vector<std::string>& arguments, const Diagnostics& diagnostics) {
  static const std::regex position("a[0-9]+(/d[0-9]+)?");
  if (UnreadableRecords(diagnostics).empty()) return;
  for (const std::string& argument : arguments) {
    if (!std::regex_match(argument, position)) continue;
    throw Failure(ExitCode::Refused, "POSITION_UNKNOWN", argument,
                  "another card may have had this name, because the known cards cannot be read",
                  {"Pass the card's serial number.", "Nothing was changed."});
  }
}

}  // namespace Console
