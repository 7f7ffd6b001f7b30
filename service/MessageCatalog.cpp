#include "service/MessageCatalog.h"

#include <fmt/format.h>

#include "hostkit/Texts.h"

namespace Service {
namespace {

using HostKit::Family;

// The first 96 bits of a random UUID. The last 32 bits are the event number.
constexpr const char* kNamespace = "a19311db2a994521918a795f";

std::string CatalogEntry(std::uint32_t event) {
  const std::string name = HostKit::NameOf(Family::Event, event);
  std::string text =
      fmt::format("-- {}\nSubject: {} on card @CORVANE_SERIAL_NUMBER@\n", MessageIdOf(event), name);
  text += "Defined-By: Corvane\nDocumentation: man:corvane-host-serve(8)\n\n";
  text += HostKit::MeaningOf(Family::Event, event) + "\n";
  const std::string advice = HostKit::AdviceOf(Family::Event, event);
  if (!advice.empty()) text += "\nWhat to do: " + advice + "\n";
  return text + fmt::format("\nSee: corvane-host explain {}\n\n", name);
}

}  // namespace

std::string MessageIdOf(std::uint32_t event) {
  return fmt::format("{}{:08x}", kNamespace, event);
}

std::string CatalogText() {
  std::string text;
  for (const std::uint32_t event : HostKit::NumbersOf(Family::Event)) text += CatalogEntry(event);
  return text;
}

}  // namespace Service
