#include "console/model/PropertyName.h"

#include <fmt/format.h>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "console/base/Failure.h"
#include "hostkit/Texts.h"

namespace Console {

std::string DisplayName(std::uint32_t property) {
  const std::string name = HostKit::NameOf(HostKit::Family::Property, property);
  return name.empty() ? std::to_string(property) : boost::to_lower_copy(name);
}

PropertyName ResolveProperty(const Object& object, const std::string& name) {
  if (const Field* field = FindField(object.m_Kind, name)) {
    const bool isDerived = field->m_PropertyID == kNoProperty;
    return {field->m_PropertyID, isDerived ? field->m_Name : DisplayName(field->m_PropertyID)};
  }
  std::vector<std::string> names = FieldNames(object.m_Kind);
  for (const PI::CProperty& property : object.m_Properties) {
    const std::string shown = DisplayName(property.m_PropertyID);
    if (boost::iequals(name, shown) || name == std::to_string(property.m_PropertyID)) {
      return {property.m_PropertyID, shown};
    }
    names.push_back(shown);
  }
  std::vector<std::string> advice = DidYouMean(name, names);
  advice.push_back(fmt::format("See: corvane-host show {}", object.m_Selector));
  throw Failure(ExitCode::Usage, "NO_SUCH_PROPERTY", object.m_Selector,
                fmt::format("no property '{}'", name), advice);
}

NamedValue ReadNamed(const Object& object, const std::string& name) {
  if (const Field* field = FindField(object.m_Kind, name)) {
    return {field->m_Name, ReadField(object, *field)};
  }
  const PropertyName property = ResolveProperty(object, name);
  return {property.m_Text, ReadProperty(*object.Find(property.m_Number))};
}

}  // namespace Console
