#include "console/model/SerialNumbers.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

#include "console/base/Failure.h"
#include "console/model/FieldTable.h"

namespace Console {

void RequireUniqueSerial(const Model& model, const std::string& serial) {
  std::vector<std::string> names;
  for (const Object& object : model.Objects()) {
    const bool isCard = object.m_Kind == Kind::Adapter;
    if (isCard && FieldText(object, "serial_number") == serial) names.push_back(object.m_Selector);
  }
  if (names.size() < 2) return;
  throw Failure(
      ExitCode::NoObject, kAmbiguous, "card " + serial,
      fmt::format("{} cards have this serial number: {}", names.size(), fmt::join(names, ", ")),
      {fmt::format("The console also accepts the names of cards: corvane-host show {}",
                   names.front())});
}

}  // namespace Console
