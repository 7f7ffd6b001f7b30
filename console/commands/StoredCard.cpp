#include "console/commands/StoredCard.h"

#include <fmt/format.h>

#include "console/base/Failure.h"
#include "console/model/FieldTable.h"
#include "console/model/Selectors.h"
#include "console/model/SerialNumbers.h"

namespace Console {
namespace {

Failure NotAnAdapter(const Object& object, const char* what) {
  return Failure(ExitCode::Usage, "WRONG_KIND", fmt::format("{} {}", what, object.m_Selector),
                 fmt::format("{} is not an adapter", object.m_Selector));
}

}  // namespace

StoredCard SelectStoredCard(const Model& model, Service::StoredState& state, const char* what,
                            const std::string& text) {
  const Object* object = FindObject(model, text);
  if (object == nullptr && FindKnownCard(state, text)) return {"", text, nullptr};
  if (object == nullptr) object = &Select(model, text);
  if (const Object* adapter = AdapterOf(model, *object)) object = adapter;
  if (object->m_Kind != Kind::Adapter) throw NotAnAdapter(*object, what);
  const std::string serial = FieldText(*object, "serial_number");
  if (!serial.empty()) {
    CardWithSerial(model, serial);  // throws if several cards have it
    return {object->m_Selector, serial, object};
  }
  throw Failure(ExitCode::Refused, "NO_SERIAL_NUMBER",
                fmt::format("{} {}", what, object->m_Selector),
                "the card has no serial number to identify it in the database");
}

std::optional<Service::KnownCard> FindKnownCard(Service::StoredState& state,
                                                const std::string& serial) {
  for (const Service::KnownCard& card : state.Cards()) {
    if (card.m_SerialNumber == serial) return card;
  }
  return std::nullopt;
}

Failure UnknownCardFailure(const std::string& what) {
  return Failure(
      ExitCode::NoObject, "UNKNOWN_CARD", what, "the card is not in the database",
      {"A service adds each card that it sees: corvane-host serve", "Nothing was changed."});
}

}  // namespace Console
