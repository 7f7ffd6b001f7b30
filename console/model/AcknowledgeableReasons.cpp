#include "console/model/AcknowledgeableReasons.h"

#include "console/model/EffectiveState.h"
#include "hostkit/Texts.h"

namespace Console {

const std::vector<std::string>& AcknowledgeableReasons() {
  static const std::vector<std::string> names = [] {
    using HostKit::Family;
    std::vector<std::string> all = {kMissing, kUnreadable};
    for (const std::uint32_t number : HostKit::NumbersOf(Family::Value)) {
      const bool isReason = HostKit::StatusOf(number) != PI::Value::UNDEFINED;
      if (isReason) all.push_back(HostKit::NameOf(Family::Value, number));
    }
    return all;
  }();
  return names;
}

}  // namespace Console
