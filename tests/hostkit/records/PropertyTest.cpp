#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "host/PluginInterface.h"
#include "hostkit/Units.h"
#include "hostkit/ValueTypes.h"

namespace {

static_assert(HostKit::VALUE_TYPE_NONE == 0 && HostKit::VALUE_TYPE_STRING == 1);
static_assert(HostKit::VALUE_TYPE_BOOL == 2 && HostKit::VALUE_TYPE_CHOICE == 3);
static_assert(HostKit::VALUE_TYPE_NUMBER == 4 && HostKit::VALUE_TYPE_FLOAT == 5);
static_assert(HostKit::VALUE_TYPE_MULTI_CHOICE == 6 && HostKit::VALUE_TYPE_RANGE == 7);

using Numbers = std::vector<int>;

PI::CProperty NewProperty() {
  return PI::CProperty(PI::Property::PCI_BUS, false);
}

TEST(Property, HasItsOwnIdAsNameByDefault) {
  const PI::CProperty property = NewProperty();
  EXPECT_EQ(property.m_PropertyID, PI::Property::PCI_BUS);
  EXPECT_EQ(property.m_NameID, PI::Property::PCI_BUS);
  EXPECT_FALSE(property.m_Writable);
  EXPECT_TRUE(PI::CProperty(PI::Property::POLL_INTERVAL, true).m_Writable);
}

TEST(Property, HasTheDisplayDefaultsOfTheHost) {
  const PI::CProperty property = NewProperty();
  EXPECT_EQ(property.m_Visible, 1U);
  EXPECT_EQ(property.m_SortKey, 0U);
  EXPECT_EQ(property.m_Indicator, 0U);
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_NONE);
  EXPECT_EQ(property.m_Format, 0U);
  EXPECT_EQ(property.m_Units, HostKit::UNITS_NONE);
  EXPECT_TRUE(property.m_UnitsFixed);
}

TEST(Property, HasEmptyValuesByDefault) {
  const auto value = NewProperty().m_Value;
  EXPECT_EQ(value.m_Choice.m_Value, 0);
  EXPECT_TRUE(value.m_Choice.m_Allowed.empty());
  EXPECT_EQ(value.m_String.m_Text, "");
  EXPECT_EQ(value.m_Integer | value.m_Minimum | value.m_Maximum, 0);
  EXPECT_EQ(value.m_Number, 0U);
  EXPECT_EQ(value.m_Float, 0.0F);
  EXPECT_FALSE(value.m_Bool);
  EXPECT_TRUE(value.m_MultiValue.m_Values.empty() && value.m_MultiValue.m_Allowed.empty());
}

TEST(Property, StoresStrings) {
  PI::CProperty property = NewProperty();
  property.SetValue("literal");
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_STRING);
  EXPECT_EQ(property.m_Value.m_String.m_Text, "literal");
  property.SetValue(std::string("a\0b", 3));
  EXPECT_EQ(property.m_Value.m_String.m_Text, std::string("a\0b", 3));
  const char* const nothing = nullptr;
  property.SetValue(nothing);
  EXPECT_EQ(property.m_Value.m_String.m_Text, "");
}

TEST(Property, StoresScalars) {
  PI::CProperty property = NewProperty();
  property.SetValue(true);
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_BOOL);
  EXPECT_TRUE(property.m_Value.m_Bool);
  property.SetValue(ULONG_MAX);
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_NUMBER);
  EXPECT_EQ(property.m_Value.m_Number, 18446744073709551615U);
  property.SetValue(36.5F);
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_FLOAT);
  EXPECT_EQ(property.m_Value.m_Float, 36.5F);
}

TEST(Property, ReturnsAChoice) {
  PI::CProperty property = NewProperty();
  const Numbers allowed = {PI::Value::OK, PI::Value::WARNING, PI::Value::FAILED};
  property.SetValue(PI::Value::WARNING, allowed);
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_CHOICE);

  int value = 0;
  Numbers read = {1};
  property.GetValue(value, read);
  EXPECT_EQ(value, PI::Value::WARNING);
  EXPECT_EQ(read, (Numbers{PI::Value::OK, PI::Value::WARNING, PI::Value::FAILED}));
}

TEST(Property, ReturnsARange) {
  PI::CProperty property = NewProperty();
  property.SetValue(15, 2, 255, 1U);
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_RANGE);

  int value = 0, minimum = 0, maximum = 0;
  unsigned int step = 0;
  property.GetValue(value, minimum, maximum, step);
  EXPECT_EQ(value, 15);
  EXPECT_EQ(minimum, 2);
  EXPECT_EQ(maximum, 255);
  EXPECT_EQ(step, 1U);
}

TEST(Property, KeepsAValueOutsideItsRange) {
  PI::CProperty property = NewProperty();
  int value = 0;
  for (const int outside : {-1, 101, INT_MIN, INT_MAX}) {
    property.SetValue(outside, 0, 100, 1U);
    property.GetValueRange(value);
    EXPECT_EQ(value, outside);
  }
}

TEST(Property, CopiesBothSetsOfAMultiChoice) {
  PI::CProperty property = NewProperty();
  Numbers values = {PI::Value::DETACHED, PI::Value::ATTACHED};
  Numbers allowed = {PI::Value::DETACHED, PI::Value::STOPPED, PI::Value::ATTACHED};
  property.SetValue(values, allowed);
  values.clear();
  allowed.clear();
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_MULTI_CHOICE);
  EXPECT_EQ(property.m_Value.m_MultiValue.m_Values,
            (Numbers{PI::Value::DETACHED, PI::Value::ATTACHED}));
  EXPECT_EQ(property.m_Value.m_MultiValue.m_Allowed,
            (Numbers{PI::Value::DETACHED, PI::Value::STOPPED, PI::Value::ATTACHED}));
}

TEST(Property, HasTheValueTypeOfTheLastSetter) {
  PI::CProperty property = NewProperty();
  property.SetValue(1, Numbers{1, 2});
  property.SetValue("text");
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_STRING);
  property.SetValue(5, 1, 9, 2U);
  EXPECT_EQ(property.m_ValueType, HostKit::VALUE_TYPE_RANGE);
}

TEST(Property, CopyHasAllFields) {
  PI::CProperty property(PI::Property::SIZE, true);
  property.m_NameID = PI::ShortName::ID;
  property.m_Visible = 0;
  property.m_SortKey = 23003;
  property.m_Indicator = 7;
  property.m_Format = 8;
  property.m_Units = PI::UNITS_PERCENT;
  property.m_UnitsFixed = false;
  property.SetValue(PI::Value::MAXIMUM_CAPACITY,
                    Numbers{PI::Value::MAXIMUM_CAPACITY, PI::Value::FACTORY_CAPACITY});

  PI::CProperty copy = NewProperty();
  copy = PI::CProperty(property);
  EXPECT_EQ(copy.m_PropertyID, PI::Property::SIZE);
  EXPECT_EQ(copy.m_NameID, PI::ShortName::ID);
  EXPECT_EQ(copy.m_Visible, 0U);
  EXPECT_EQ(copy.m_SortKey, 23003U);
  EXPECT_EQ(copy.m_Indicator, 7U);
  EXPECT_EQ(copy.m_Format, 8U);
  EXPECT_EQ(copy.m_Units, PI::UNITS_PERCENT);
  EXPECT_FALSE(copy.m_UnitsFixed);
  EXPECT_TRUE(copy.m_Writable);
  EXPECT_EQ(copy.m_ValueType, HostKit::VALUE_TYPE_CHOICE);
  EXPECT_EQ(copy.m_Value.m_Choice.m_Value, PI::Value::MAXIMUM_CAPACITY);
  EXPECT_EQ(copy.m_Value.m_Choice.m_Allowed,
            (Numbers{PI::Value::MAXIMUM_CAPACITY, PI::Value::FACTORY_CAPACITY}));
}

}  // namespace
