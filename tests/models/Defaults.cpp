// Default values of the row types.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "models/Adapter.h"
#include "models/PD.h"
#include "models/Plugin.h"

namespace {

using namespace RaidDataModels;

template <class Field>
bool IsNull(const Field& value) {
  if constexpr (std::is_same_v<Field, std::string>) return value == "NULL";
  if constexpr (std::is_same_v<Field, string_list>) return value.empty();
  if constexpr (std::is_same_v<Field, int>) return value == -2147483647 - 1;
  if constexpr (std::is_same_v<Field, unsigned long>) return value == 18446744073709551615UL;
  if constexpr (std::is_same_v<Field, double>) return value == 1.1754943508222875e-38;
}

#define NOTE_IF_SET(type, name, initial) \
  if (!IsNull(row.name)) set += std::string(set.empty() ? "" : " ") + #name;

TEST(Defaults, EveryFieldOfAnAdapterIsNull) {
  const Adapter row;
  std::string set;
  ADAPTER_FIELDS(NOTE_IF_SET)
  EXPECT_EQ(set, "");
}

TEST(Defaults, EveryFieldOfADriveExceptItsObjectIdIsNull) {
  const PD row;
  std::string set;
  PD_FIELDS(NOTE_IF_SET)
  EXPECT_EQ(set, "objectId");
  EXPECT_EQ(row.objectId, 18446744071562067968UL);
}

TEST(Defaults, EveryFieldOfAPluginIsNull) {
  const Plugin row;
  std::string set;
  PLUGIN_FIELDS(NOTE_IF_SET)
  EXPECT_EQ(set, "");
}

TEST(Defaults, RowsAreCopiedByValue) {
  Adapter row;
  row.statusReasonNames = {"MINIMAL"};
  Adapter copy = row;
  copy.statusReasonNames.push_back("FORCED");
  EXPECT_EQ(row.statusReasonNames.size(), 1U);
}

TEST(FieldsMap, HasOneInstancePerRowType) {
  EXPECT_EQ(dbModelFieldsMap<Adapter>::instance(), dbModelFieldsMap<Adapter>::instance());
  EXPECT_FALSE(std::is_default_constructible_v<dbModelFieldsMap<Adapter>>);
}

}  // namespace
