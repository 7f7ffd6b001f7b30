#include "console/plugin/UnresponsiveCard.h"

namespace Console {

std::set<std::string> OmittedSerials(const std::vector<UnresponsiveCard>& cards) {
  std::set<std::string> serials;
  for (const UnresponsiveCard& card : cards) {
    if (card.m_IsOmitted && !card.m_SerialNumber.empty()) serials.insert(card.m_SerialNumber);
  }
  return serials;
}

}  // namespace Console
