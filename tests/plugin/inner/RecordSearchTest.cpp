// Searching records by id or card, and adapters by serial number.

#include <gmock/gmock.h>

#include "Corvane/Src/RecordSearch.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::AdaptersBySerialNumber;
using NAMESPACE_Corvane::CFusionIOAdapter;
using testing::ElementsAre;
using testing::IsEmpty;

struct Record {
  std::uint64_t id;
};

std::uint64_t IdOf(const Record& record) {
  return record.id;
}

// Returns the positions of the ids in `wanted`; -1 for an id that was not found.
std::vector<long> Positions(const std::vector<Record>& records,
                            const std::vector<std::uint64_t>& wanted) {
  std::vector<long> positions;
  for (const std::uint64_t id : wanted) {
    const Record* found = NAMESPACE_Corvane::Find(records, id, IdOf);
    positions.push_back(found == nullptr ? -1 : found - records.data());
  }
  return positions;
}

TEST(Find, FindsEveryRecordIfTheIdsAscend) {
  EXPECT_THAT(Positions({{1}, {3}, {5}, {7}}, {1, 3, 5, 7, 0, 4, 8}),
              ElementsAre(0, 1, 2, 3, -1, -1, -1));
  EXPECT_THAT(Positions({}, {1}), ElementsAre(-1));
}

TEST(Find, FindsEveryRecordAfterACardHasReturnedWithANewId) {
  EXPECT_THAT(Positions({{1}, {9}, {5}, {7}}, {1, 9, 5, 7, 3}), ElementsAre(0, 1, 2, 3, -1));
  EXPECT_THAT(Positions({{9}, {3}, {1}}, {9, 3, 1}), ElementsAre(0, 1, 2));
}

std::vector<std::uint32_t> CardsWith(const std::vector<const char*>& serialNumbers,
                                     const char* wanted) {
  std::vector<CFusionIOAdapter> adapters;
  for (const char* serialNumber : serialNumbers) {
    adapters.emplace_back().m_SerialNumber = serialNumber;
    adapters.back().m_CardIndex = static_cast<std::uint32_t>(adapters.size() - 1);
  }
  std::vector<std::uint32_t> cards;
  for (const CFusionIOAdapter* adapter : AdaptersBySerialNumber(adapters).With(wanted)) {
    cards.push_back(adapter->m_CardIndex);
  }
  return cards;
}

TEST(AdaptersBySerialNumber, AreInTheOrderOfTheVector) {
  EXPECT_THAT(CardsWith({"T", "S", "T", "A", "T"}, "T"), ElementsAre(0, 2, 4));
  EXPECT_THAT(CardsWith({"T", "S", ""}, ""), ElementsAre(2));
}

TEST(AdaptersBySerialNumber, DoNotIncludeOtherNumbers) {
  EXPECT_THAT(CardsWith({"S1", "S2"}, "S"), IsEmpty());
  EXPECT_THAT(CardsWith({}, "S1"), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
