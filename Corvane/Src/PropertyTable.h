// Tables of properties: one table per type of object, with rows in the order in which they are
// listed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Corvane/Src/HostNumbers.h"
#include "host/PluginInterface.h"

namespace NAMESPACE_Corvane {

// One property. `Object` is the source of the values. Display fields that a row does not set keep
// the defaults of the host's constructor.
template <class Object>
class PropertyRow {
 public:
  // Sets the value, and any display field that depends on it. Returns false if the property is
  // currently not shown.
  using Fill = bool (*)(Object& object, PI::CProperty& property);

  constexpr PropertyRow(std::uint32_t id, Fill fill) : m_ID(id), m_Fill(fill) {}

  constexpr PropertyRow Name(std::uint32_t id) const { return With(&PropertyRow::m_NameID, id); }
  constexpr PropertyRow Sort(std::uint32_t key) const { return With(&PropertyRow::m_SortKey, key); }
  constexpr PropertyRow Visible(std::uint32_t value) const {
    return With(&PropertyRow::m_Visible, value);
  }
  constexpr PropertyRow Hidden() const { return Visible(0); }
  constexpr PropertyRow Unit(PI::_UNITS unit) const { return With(&PropertyRow::m_Units, unit); }
  constexpr PropertyRow Format(std::uint32_t format) const {
    return With(&PropertyRow::m_Format, format);
  }
  constexpr PropertyRow UnitNotFixed() const { return With(&PropertyRow::m_UnitNotFixed, true); }
  constexpr PropertyRow Writable() const { return With(&PropertyRow::m_Writable, true); }

  std::uint32_t ID() const { return m_ID; }

  // Appends the property if it is currently shown.
  void AppendTo(std::vector<PI::CProperty>& properties, Object& object) const {
    PI::CProperty& property =
        properties.emplace_back(static_cast<PI::_PROPERTY_ID>(m_ID), m_Writable);
    if (m_Fill(object, property)) {
      ApplyOverrides(property);
    } else {
      properties.pop_back();
    }
  }

 private:
  static constexpr std::uint32_t kUnset = ~std::uint32_t{0};

  template <class Field, class Value>
  constexpr PropertyRow With(Field PropertyRow::*field, Value value) const {
    PropertyRow row = *this;
    row.*field = value;
    return row;
  }

  void ApplyOverrides(PI::CProperty& property) const {
    if (m_NameID != kUnset) property.m_NameID = m_NameID;
    if (m_SortKey != kUnset) property.m_SortKey = m_SortKey;
    if (m_Visible != kUnset) property.m_Visible = m_Visible;
    if (m_Units != PI::_UNITS{}) property.m_Units = m_Units;
    if (m_Format != kUnset) property.m_Format = m_Format;
    if (m_UnitNotFixed) property.m_UnitsFixed = false;
  }

  std::uint32_t m_ID;
  Fill m_Fill;
  bool m_Writable = false;
  std::uint32_t m_NameID = kUnset;
  std::uint32_t m_SortKey = kUnset;
  std::uint32_t m_Visible = kUnset;
  PI::_UNITS m_Units{};  // no unit
  std::uint32_t m_Format = kUnset;
  bool m_UnitNotFixed = false;
};

// Appends the property with the identifier `propertyId`, or all of them for
// `PI::Property::UNDEFINED`. Values of other rows are not read.
template <class Object, std::size_t N>
void AppendProperties(const PropertyRow<Object> (&rows)[N], Object& object, unsigned int propertyId,
                      std::vector<PI::CProperty>& properties) {
  const bool isList = propertyId == PI::Property::UNDEFINED;
  if (isList) properties.reserve(properties.size() + N);
  for (const PropertyRow<Object>& row : rows) {
    if (isList || propertyId == row.ID()) row.AppendTo(properties, object);
  }
}

}  // namespace NAMESPACE_Corvane
