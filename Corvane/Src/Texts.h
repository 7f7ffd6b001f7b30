// How the plug-in turns numbers into text.
#pragma once

#include <boost/format.hpp>
#include <locale>
#include <string>

namespace NAMESPACE_Corvane {

// Fills the placeholders of a format in order. Every number that the plug-in writes goes through
// here: a host may have set a locale that groups digits, and what is written is read back, compared
// and searched for.
template <class... Values>
std::string Formatted(const char* format, const Values&... values) {
  boost::format text(format, std::locale::classic());
  (text % ... % values);
  return text.str();
}

}  // namespace NAMESPACE_Corvane
