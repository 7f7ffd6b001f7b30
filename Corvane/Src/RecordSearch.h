// Searches in the vectors of records, which can be long: a machine may have hundreds of cards.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Corvane/Src/DeviceRecords.h"

namespace NAMESPACE_Corvane {

// Returns a record with `keyOf(record) == key`, or null. The keys are unique. May miss the record
// if the keys do not ascend, as after a card has returned with a new id.
template <class Records, class Key, class KeyOf>
auto TryToFind(Records& records, Key key, KeyOf keyOf) -> decltype(&records.front()) {
  std::size_t begin = 0;
  std::size_t end = records.size();
  while (begin < end) {
    const std::size_t middle = begin + (end - begin) / 2;
    if (keyOf(records[middle]) == key) return &records[middle];
    if (keyOf(records[middle]) < key) {
      begin = middle + 1;
    } else {
      end = middle;
    }
  }
  return nullptr;
}

// Like `TryToFind`, but never misses the record: if necessary, visits all of them.
template <class Records, class Key, class KeyOf>
auto Find(Records& records, Key key, KeyOf keyOf) -> decltype(&records.front()) {
  if (auto* const record = TryToFind(records, key, keyOf)) return record;
  const auto found = std::find_if(records.begin(), records.end(),
                                  [&](const auto& record) { return keyOf(record) == key; });
  return found == records.end() ? nullptr : &*found;
}

// The adapters by serial number, which several may share. Refers to the vector, which must not
// change.
class AdaptersBySerialNumber {
 public:
  explicit AdaptersBySerialNumber(const std::vector<CFusionIOAdapter>& adapters) {
    m_Entries.reserve(adapters.size());
    for (const CFusionIOAdapter& adapter : adapters) {
      m_Entries.push_back({adapter.m_SerialNumber, &adapter});
    }
    // Pointers into the vector ascend, so adapters with the same number keep their order.
    std::sort(m_Entries.begin(), m_Entries.end());
  }

  // Returns the adapters with that number, in the order of the vector.
  std::vector<const CFusionIOAdapter*> With(std::string_view serialNumber) const {
    std::vector<const CFusionIOAdapter*> adapters;
    auto entry = std::lower_bound(m_Entries.begin(), m_Entries.end(), Entry{serialNumber, nullptr});
    for (; entry != m_Entries.end() && entry->first == serialNumber; ++entry) {
      adapters.push_back(entry->second);
    }
    return adapters;
  }

 private:
  using Entry = std::pair<std::string_view, const CFusionIOAdapter*>;
  std::vector<Entry> m_Entries;
};

}  // namespace NAMESPACE_Corvane
