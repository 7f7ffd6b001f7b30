#include "hostkit/records/IniText.h"

#include <algorithm>
#include <boost/algorithm/string/trim.hpp>
#include <boost/property_tree/ini_parser.hpp>
#include <optional>
#include <sstream>

namespace HostKit {

namespace {

using boost::property_tree::ptree;

std::optional<ptree> Parse(const std::string& text) {
  std::istringstream stream(text);
  ptree tree;
  try {
    boost::property_tree::read_ini(stream, tree);
  } catch (const boost::property_tree::ini_parser_error&) {
    return std::nullopt;
  }
  return tree;
}

std::string KeyOf(const std::string& line) {
  return boost::algorithm::trim_copy(line.substr(0, line.find('=')));
}

bool BeginsSection(const std::string& line) {
  return boost::algorithm::trim_left_copy(line).rfind('[', 0) == 0;
}

}  // namespace

IniLookup FindIniValue(const std::string& text, const std::string& key, std::string& value) {
  const auto tree = Parse(text);
  if (!tree) return IniLookup::NotIni;
  // Not `get`, which would treat a dot in the key as the separator after a section.
  const auto found = tree->find(key);
  // A section is a node with children.
  if (found == tree->not_found() || !found->second.empty()) return IniLookup::NoKey;
  value = found->second.data();
  return IniLookup::Found;
}

std::string WithIniValue(const std::string& text, const std::string& key,
                         const std::string& value) {
  const std::string entry = key + "=" + value;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    const std::string line = text.substr(begin, end - begin);
    if (BeginsSection(line)) break;
    if (line.find('=') != std::string::npos && KeyOf(line) == key) {
      const std::size_t tail = line.back() == '\r' ? end - 1 : end;
      return text.substr(0, begin) + entry + text.substr(tail);
    }
    begin = end + 1;
  }
  std::string head = text.substr(0, begin);
  if (!head.empty() && head.back() != '\n') head += '\n';
  return head + entry + "\n" + text.substr(std::min(begin, text.size()));
}

}  // namespace HostKit
