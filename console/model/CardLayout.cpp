#include "console/model/CardLayout.h"

#include <algorithm>
#include <string>

#include "console/model/FieldTable.h"

namespace Console {
namespace {

class Layout {
 public:
  explicit Layout(const CardRecords& records) : m_Next(records.m_NextPosition) {
    for (const KnownCard& card : records.m_Known) {
      m_Places.push_back({card.m_Position, nullptr, &card, nullptr});
      m_Next = std::max(m_Next, card.m_Position + 1);
    }
  }

  // Returns false if the card is not known, or another reported card has its serial number.
  bool AddKnown(const Object& card) {
    const std::string serial = FieldText(card, "serial_number");
    for (CardPlace& place : m_Places) {
      if (serial.empty() || place.m_pKnown == nullptr || place.m_pReported != nullptr) continue;
      if (place.m_pKnown->m_SerialNumber != serial) continue;
      place.m_pReported = &card;
      return true;
    }
    return false;
  }

  void AddNew(const Object* card, const UnreadableCard* unreadable) {
    m_Places.push_back({m_Next++, card, nullptr, unreadable});
  }

  // An unreadable card is identified by its serial number, or else by the place where it was last
  // seen.
  void AddUnreadable(const UnreadableCard& unreadable) {
    const auto found = std::find_if(m_Places.begin(), m_Places.end(), [&](const CardPlace& place) {
      return IsSame(place, unreadable);
    });
    if (found == m_Places.end()) return AddNew(nullptr, &unreadable);
    found->m_pUnreadable = &unreadable;
  }

  std::vector<CardPlace> Sorted() {
    std::sort(m_Places.begin(), m_Places.end(), [](const CardPlace& left, const CardPlace& right) {
      return left.m_Position < right.m_Position;
    });
    return std::move(m_Places);
  }

 private:
  static bool IsSame(const CardPlace& place, const UnreadableCard& card) {
    const bool isReported = place.m_pReported != nullptr;
    if (!isReported && place.m_pKnown == nullptr) return false;
    if (!card.m_SerialNumber.empty()) {
      return card.m_SerialNumber == (isReported ? FieldText(*place.m_pReported, "serial_number")
                                                : place.m_pKnown->m_SerialNumber);
    }
    const std::string address =
        isReported ? FieldText(*place.m_pReported, "pci_address") : place.m_pKnown->m_PciAddress;
    return !address.empty() && address == card.m_PciAddress;
  }

  std::int64_t m_Next;
  std::vector<CardPlace> m_Places;
};

}  // namespace

std::vector<CardPlace> PlaceCards(const std::vector<Object>& reported, const CardRecords& records) {
  Layout layout(records);
  std::vector<const Object*> withSerial;
  std::vector<const Object*> others;
  for (const Object& card : reported) {
    if (layout.AddKnown(card)) continue;
    const bool hasSerial = !FieldText(card, "serial_number").empty();
    (hasSerial ? withSerial : others).push_back(&card);
  }
  for (const Object* card : withSerial) layout.AddNew(card, nullptr);
  for (const Object* card : others) layout.AddNew(card, nullptr);
  for (const UnreadableCard& card : records.m_Unreadable) layout.AddUnreadable(card);
  return layout.Sorted();
}

}  // namespace Console
