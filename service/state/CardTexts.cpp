#include "service/state/CardTexts.h"

#include <charconv>
#include <optional>
#include <sstream>
#include <system_error>

namespace Service {
namespace {

std::string TextOf(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : "-";
}

// Returns empty unless the entire word is a number in range.
template <class Number>
std::optional<Number> ParseWord(const std::string& word) {
  Number number = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace

std::string TextOf(const std::set<std::uint32_t>& reasons) {
  std::string text;
  for (const std::uint32_t reason : reasons) {
    text += (text.empty() ? "" : " ") + std::to_string(reason);
  }
  return text;
}

std::set<std::uint32_t> ParseReasons(const std::string& text) {
  std::istringstream stream(text);
  std::set<std::uint32_t> reasons;
  for (std::string word; stream >> word;) {
    if (const auto reason = ParseWord<std::uint32_t>(word)) reasons.insert(*reason);
  }
  return reasons;
}

std::string TextOf(const std::vector<DriveState>& drives) {
  std::string text;
  for (const DriveState& drive : drives) {
    text += (text.empty() ? "" : " ") + TextOf(drive.m_Format.m_SizeBytes) + " " +
            TextOf(drive.m_Format.m_SectorSizeBytes);
  }
  return text;
}

std::vector<DriveState> ParseDrives(const std::string& text) {
  std::istringstream stream(text);
  std::vector<DriveState> drives;
  std::string size, sector;
  while (stream >> size >> sector) {
    drives.push_back({0, "", {ParseWord<std::int64_t>(size), ParseWord<std::int64_t>(sector)}});
  }
  return drives;
}

}  // namespace Service
