#include "console/render/OpenMetrics.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Console {
namespace {

struct TypeRow {
  MetricType m_Type;
  const char* m_Name;
  const char* m_PlainName;
  const char* m_Suffix;  // added to the names of samples
};

constexpr TypeRow kTypes[] = {
    {MetricType::Gauge, "gauge", "gauge", ""},
    {MetricType::Counter, "counter", "counter", "_total"},
    {MetricType::Info, "info", "gauge", "_info"},
    {MetricType::StateSet, "stateset", "gauge", ""},
};

// Quotes a label; the three escapes of the format are the same in JSON.
std::string Quoted(const std::string& label) {
  return nlohmann::json(label).dump();
}

const TypeRow& RowOf(MetricType type) {
  return *std::find_if(std::begin(kTypes), std::end(kTypes),
                       [&](const TypeRow& row) { return row.m_Type == type; });
}

std::string SampleLine(const std::string& name, const Sample& sample) {
  std::string labels;
  for (const auto& [label, text] : sample.m_Labels) {
    labels += fmt::format("{}{}={}", labels.empty() ? "" : ",", label, Quoted(text));
  }
  return fmt::format("{}{} {}\n", name, labels.empty() ? "" : "{" + labels + "}", sample.m_Value);
}

std::string SampleLines(const Family& family) {
  std::string lines;
  const std::string name = family.m_Name + RowOf(family.m_Type).m_Suffix;
  for (const Sample& sample : family.m_Samples) lines += SampleLine(name, sample);
  return lines;
}

}  // namespace

const char* MetricTypeName(MetricType type) {
  return RowOf(type).m_Name;
}

std::string OpenMetricsText(const std::vector<Family>& families) {
  std::string text;
  for (const Family& family : families) {
    text += fmt::format("# TYPE {} {}\n", family.m_Name, MetricTypeName(family.m_Type));
    if (!family.m_Unit.empty()) text += fmt::format("# UNIT {} {}\n", family.m_Name, family.m_Unit);
    text += fmt::format("# HELP {} {}\n", family.m_Name, family.m_Help) + SampleLines(family);
  }
  return text + "# EOF\n";
}

std::string PlainMetricsText(const std::vector<Family>& families) {
  std::string text;
  for (const Family& family : families) {
    if (family.m_Samples.empty()) continue;
    const TypeRow& type = RowOf(family.m_Type);
    const std::string name = family.m_Name + type.m_Suffix;
    text +=
        fmt::format("# HELP {} {}\n# TYPE {} {}\n", name, family.m_Help, name, type.m_PlainName) +
        SampleLines(family);
  }
  return text;
}

}  // namespace Console
