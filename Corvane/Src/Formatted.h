// How the plug-in turns numbers into text.
#pragma once

#include <boost/format.hpp>
#include <locale>
#include <string>

namespace NAMESPACE_Corvane {

// Fills the placeholders of a format in order. All numbers are formatted here, independent of the
// host's locale: the texts are read back, compared and searched for, and a locale may group digits.
template <class... Values>
std::string Formatted(const char* format, const Values&... values) {
  boost::format text(format, std::locale::classic());
  (text % ... % values);
  return text.str();
}

}  // namespace NAMESPACE_Corvane
