#include "console/model/SerialNumbers.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

#include "console/base/Failure.h"
#include "console/model/FieldTable.h"

namespace Console {

const Object* CardWithSerial(const Model& model, const std::string& serial) {
  std::vector<const Object*> present, missing;
  for (const Object& object : model.Objects()) {
    const bool isCard = object.m_Kind == Kind::Adapter;
    if (!isCard || FieldText(object, "serial_number") != serial) continue;
    (object.m_Access != Access::Missing ? present : missing).push_back(&object);
  }
  const std::vector<const Object*>& cards = present.empty() ? missing : present;
  if (cards.empty()) return nullptr;
  if (cards.size() == 1) return cards.front();
  std::vector<std::string> names;
  for (const Object* card : cards) names.push_back(card->m_Selector);
  throw Failure(
      ExitCode::NoObject, kAmbiguous, "card " + serial,
      fmt::format("{} cards have this serial number: {}", names.size(), fmt::join(names, ", ")),
      {fmt::format("The console also accepts the names of cards: corvane-host show {}",
                   names.front())});
}

}  // namespace Console
