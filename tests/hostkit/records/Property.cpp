#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "host/PluginInterface.h"
#include "hostkit/Units.h"

namespace {

using Numbers = std::vector<int>;

PI::CProperty Fresh() {
  return PI::CProperty(PI::Property::PCI_BUS, false);
}

TEST(Property, IsNamedAfterItselfAtFirst) {
  const PI::CProperty property = Fresh();
  EXPECT_EQ(property.m_PropertyID, 30037U);
  EXPECT_EQ(property.m_NameID, 30037U);
  EXPECT_FALSE(property.m_Writable);
  EXPECT_TRUE(PI::CProperty(PI::Property::POLL_INTERVAL, true).m_Writable);
}

TEST(Property, HasTheHostsDisplayDefaults) {
  const PI::CProperty property = Fresh();
  EXPECT_EQ(property.m_Visible, 1U);
  EXPECT_EQ(property.m_SortKey, 0U);
  EXPECT_EQ(property.m_Indicator, 0U);
  EXPECT_EQ(property.m_ValueType, 0U);
  EXPECT_EQ(property.m_Format, 0U);
  EXPECT_EQ(property.m_Units, HostKit::UNITS_NONE);
  EXPECT_TRUE(property.m_UnitsFixed);
}

TEST(Property, HasEmptyHoldersAtFirst) {
  const auto value = Fresh().m_Value;
  EXPECT_EQ(value.m_Choice.m_Value, 0);
  EXPECT_TRUE(value.m_Choice.m_Allowed.empty());
  EXPECT_EQ(value.m_String.m_Text, "");
  EXPECT_EQ(value.m_Integer | value.m_Minimum | value.m_Maximum, 0);
  EXPECT_EQ(value.m_Number, 0U);
  EXPECT_EQ(value.m_Float, 0.0F);
  EXPECT_FALSE(value.m_Bool);
  EXPECT_TRUE(value.m_MultiValue.m_Values.empty() && value.m_MultiValue.m_Allowed.empty());
}

TEST(Property, HoldsTexts) {
  PI::CProperty property = Fresh();
  property.SetValue("literal");
  EXPECT_EQ(property.m_ValueType, 1U);
  EXPECT_EQ(property.m_Value.m_String.m_Text, "literal");
  property.SetValue(std::string("a\0b", 3));
  EXPECT_EQ(property.m_Value.m_String.m_Text, std::string("a\0b", 3));
  const char* const nothing = nullptr;
  property.SetValue(nothing);
  EXPECT_EQ(property.m_Value.m_String.m_Text, "");
}

TEST(Property, HoldsScalars) {
  PI::CProperty property = Fresh();
  property.SetValue(true);
  EXPECT_EQ(property.m_ValueType, 2U);
  EXPECT_TRUE(property.m_Value.m_Bool);
  property.SetValue(ULONG_MAX);
  EXPECT_EQ(property.m_ValueType, 4U);
  EXPECT_EQ(property.m_Value.m_Number, 18446744073709551615U);
  property.SetValue(36.5F);
  EXPECT_EQ(property.m_ValueType, 5U);
  EXPECT_EQ(property.m_Value.m_Float, 36.5F);
}

TEST(Property, GivesAChoiceBack) {
  PI::CProperty property = Fresh();
  const Numbers allowed = {40024, 40150, 40095};
  property.SetValue(40150, allowed);
  EXPECT_EQ(property.m_ValueType, 3U);

  int value = 0;
  Numbers read = {1};
  property.GetValue(value, read);
  EXPECT_EQ(value, 40150);
  EXPECT_EQ(read, (Numbers{40024, 40150, 40095}));
}

TEST(Property, GivesARangeBack) {
  PI::CProperty property = Fresh();
  property.SetValue(15, 2, 255, 1U);
  EXPECT_EQ(property.m_ValueType, 7U);

  int value = 0, minimum = 0, maximum = 0;
  unsigned int step = 0;
  property.GetValue(value, minimum, maximum, step);
  EXPECT_EQ(value, 15);
  EXPECT_EQ(minimum, 2);
  EXPECT_EQ(maximum, 255);
  EXPECT_EQ(step, 1U);
}

TEST(Property, KeepsAValueOutsideItsRange) {
  PI::CProperty property = Fresh();
  int value = 0;
  for (const int odd : {-1, 101, INT_MIN, INT_MAX}) {
    property.SetValue(odd, 0, 100, 1U);
    property.GetValueRange(value);
    EXPECT_EQ(value, odd);
  }
}

TEST(Property, CopiesBothSetsOfAMultiChoice) {
  PI::CProperty property = Fresh();
  Numbers values = {40387, 40393};
  Numbers allowed = {40387, 40128, 40393};
  property.SetValue(values, allowed);
  values.clear();
  allowed.clear();
  EXPECT_EQ(property.m_ValueType, 6U);
  EXPECT_EQ(property.m_Value.m_MultiValue.m_Values, (Numbers{40387, 40393}));
  EXPECT_EQ(property.m_Value.m_MultiValue.m_Allowed, (Numbers{40387, 40128, 40393}));
}

TEST(Property, TheLastSetterDecides) {
  PI::CProperty property = Fresh();
  property.SetValue(1, Numbers{1, 2});
  property.SetValue("text");
  EXPECT_EQ(property.m_ValueType, 1U);
  property.SetValue(5, 1, 9, 2U);
  EXPECT_EQ(property.m_ValueType, 7U);
}

TEST(Property, CopyBringsEverythingAlong) {
  PI::CProperty property(PI::Property::SIZE, true);
  property.m_NameID = 35023;
  property.m_SortKey = 23003;
  property.m_Units = PI::UNITS_PERCENT;
  property.m_UnitsFixed = false;
  property.SetValue(40404, Numbers{40404, 40405});

  PI::CProperty copy = Fresh();
  copy = PI::CProperty(property);
  EXPECT_EQ(copy.m_PropertyID, 30464U);
  EXPECT_EQ(copy.m_NameID, 35023U);
  EXPECT_EQ(copy.m_SortKey, 23003U);
  EXPECT_EQ(copy.m_Units, PI::UNITS_PERCENT);
  EXPECT_FALSE(copy.m_UnitsFixed);
  EXPECT_TRUE(copy.m_Writable);
  EXPECT_EQ(copy.m_ValueType, 3U);
  EXPECT_EQ(copy.m_Value.m_Choice.m_Value, 40404);
  EXPECT_EQ(copy.m_Value.m_Choice.m_Allowed, (Numbers{40404, 40405}));
}

}  // namespace
