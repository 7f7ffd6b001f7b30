// Formats numbers as text.
#pragma once

#include <boost/format.hpp>
#include <locale>
#include <string>

namespace NAMESPACE_Corvane {

// Replaces the placeholders of a format in order. Formats numbers in the classic locale, because a
// host locale may group digits and the results are parsed and compared later.
template <class... Values>
std::string Formatted(const char* format, const Values&... values) {
  boost::format text(format, std::locale::classic());
  (text % ... % values);
  return text.str();
}

}  // namespace NAMESPACE_Corvane
