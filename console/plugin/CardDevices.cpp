#include "console/plugin/CardDevices.h"

#include <algorithm>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"
#include "hostkit/PciBus.h"

namespace Console {
namespace {

// An address without a segment matches any segment.
bool IsAt(const std::string& device, const std::string& address) {
  return !address.empty() && device.size() >= address.size() &&
         device.compare(device.size() - address.size(), address.size(), address) == 0;
}

}  // namespace

const std::vector<std::string>& CardIdentities() {
  static const std::vector<std::string> identities = {"1AED1000", "1AED1003", "1AED1005",
                                                      "1AED1006", "1AED1007", "1AED1008",
                                                      "1AED2001", "1AED3001", "1AED3002"};
  return identities;
}

std::vector<std::string> CardDevices() {
  return HostKit::FindPciDevices(CardIdentities());
}

std::vector<std::string> UnreportedDevices(const std::vector<PI::CObject>& topology,
                                           const std::vector<std::string>& devices) {
  std::vector<std::string> unreported = devices;
  const Model model(topology);
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter) continue;
    const std::string address = FieldText(object, "pci_address");
    const auto found = std::find_if(unreported.begin(), unreported.end(),
                                    [&](const std::string& each) { return IsAt(each, address); });
    if (found != unreported.end()) unreported.erase(found);
  }
  return unreported;
}

std::vector<UnreadableCard> UnreadableCards(const std::vector<UnresponsiveCard>& cards,
                                            std::vector<std::string>& unreported) {
  std::vector<UnreadableCard> unreadable;
  for (const UnresponsiveCard& card : cards) {
    if (card.m_DevicePath.empty()) continue;  // stands for all cards
    unreadable.push_back({card.m_SerialNumber, "", card.m_Reason});
    if (!card.m_IsOmitted || unreported.empty()) continue;
    unreadable.back().m_PciAddress = unreported.front();
    unreported.erase(unreported.begin());
  }
  return unreadable;
}

}  // namespace Console
