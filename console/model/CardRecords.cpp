#include "console/model/CardRecords.h"

#include <algorithm>
#include <tuple>

namespace Console {
namespace {

auto ComparedMembers(const KnownCard& card) {
  return std::make_tuple(card.m_SerialNumber, card.m_Position, card.m_IsPresent,
                         card.m_IsPresent ? 0 : card.m_LastSeen, card.m_Name, card.m_Product,
                         card.m_PciAddress, card.m_Slot, card.m_SizeBytes);
}

}  // namespace

bool Differ(const std::vector<KnownCard>& left, const std::vector<KnownCard>& right) {
  return !std::equal(left.begin(), left.end(), right.begin(), right.end(),
                     [](const KnownCard& a, const KnownCard& b) {
                       return ComparedMembers(a) == ComparedMembers(b);
                     });
}

}  // namespace Console
