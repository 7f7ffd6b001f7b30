// Prints the table of costs, or runs one row for a tool that counts instructions.
// Usage: corvane_costs [--json FILE] [ROW...]     measures the rows whose names start with ROW
//        corvane_costs --list                     prints the rows and sizes
//        corvane_costs --run ROW SIZE COUNT       runs our side COUNT times, without the baseline
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "bench/costs/Costs.h"
#include "bench/costs/ProcessorTime.h"

namespace CorvaneBench {
namespace {

bool g_IsMeasured = true;

constexpr double kSampleNs = 500'000;  // long enough for the resolution of the clock

std::vector<Row> AllRows() {
  std::vector<Row> rows;
  for (const auto* group : {&PluginRows(), &StatementRows(), &ToolkitRows()}) {
    rows.insert(rows.end(), group->begin(), group->end());
  }
  return rows;
}

struct Times {
  double m_Ours = std::numeric_limits<double>::infinity();
  double m_Baseline = std::numeric_limits<double>::infinity();
};

Times Measure(const Comparison& comparison) {
  Times best;
  for (int round = 0; round < comparison.m_Rounds; ++round) {
    best.m_Ours = std::min(best.m_Ours, comparison.m_Ours());
    best.m_Baseline = std::min(best.m_Baseline, comparison.m_Baseline());
  }
  return best;
}

double ResultOf(const Row& row, int size, const Times& times) {
  if (row.m_Result == Result::Ratio) return times.m_Ours / times.m_Baseline;
  return (times.m_Ours - times.m_Baseline) / size / 1000;
}

nlohmann::json PrintRow(const Row& row, std::size_t index) {
  const int size = row.m_Sizes[index];
  const Times times = Measure(row.m_Make(size));
  const double result = ResultOf(row, size, times);
  const char* unit = row.m_Result == Result::Ratio ? "" : " us";
  std::printf("%-24s %6d %12.3f %12.3f %9.2f%-3s %8.2f\n", row.m_Name, size, times.m_Ours / 1000,
              times.m_Baseline / 1000, result, unit, row.m_Goals[index]);
  std::fflush(stdout);
  return {{"row", row.m_Name},
          {"size", size},
          {"ours_us", times.m_Ours / 1000},
          {"baseline_us", times.m_Baseline / 1000},
          {"result", result},
          {"unit", unit},
          {"goal", row.m_Goals[index]}};
}

bool IsSelected(const Row& row, const std::vector<std::string>& names) {
  return names.empty() || std::any_of(names.begin(), names.end(), [&row](const std::string& name) {
           return std::strncmp(row.m_Name, name.c_str(), name.size()) == 0;
         });
}

int PrintTable(const std::vector<std::string>& names, const std::string& file) {
  std::printf("%-24s %6s %12s %12s %12s %8s\n", "row", "size", "ours us", "baseline us", "result",
              "goal");
  nlohmann::json table = nlohmann::json::array();
  for (const Row& row : AllRows()) {
    if (!IsSelected(row, names)) continue;
    for (std::size_t i = 0; i < row.m_Sizes.size(); ++i) table.push_back(PrintRow(row, i));
  }
  if (!file.empty()) std::ofstream(file) << table.dump(2) << '\n';
  return table.empty() ? 2 : 0;
}

int PrintList() {
  for (const Row& row : AllRows()) {
    for (const int size : row.m_Sizes) std::printf("%s %d\n", row.m_Name, size);
  }
  return 0;
}

int RunRow(const std::string& name, int size, int count) {
  g_IsMeasured = false;
  for (const Row& row : AllRows()) {
    if (row.m_Name != name) continue;
    const Comparison comparison = row.m_Make(size);
    for (int i = 0; i < count; ++i) comparison.m_Ours();
    return 0;
  }
  std::fprintf(stderr, "corvane_costs: unknown row '%s'\n", name.c_str());
  return 2;
}

}  // namespace

Sample Repeated(std::function<void()> work) {
  return [work = std::move(work), count = 0]() mutable {
    const auto measure = [&work](int times) {
      const double begin = ProcessorNs();
      for (int i = 0; i < times; ++i) work();
      return ProcessorNs() - begin;
    };
    if (!g_IsMeasured) return measure(1);
    if (count == 0) {
      const double once = measure(1);
      count = std::max(1, static_cast<int>(kSampleNs / std::max(once, 10.0)));
    }
    return measure(count) / count;
  };
}

}  // namespace CorvaneBench

int main(int argc, char** argv) {
  using namespace CorvaneBench;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 1 && arguments[0] == "--list") return PrintList();
  if (arguments.size() == 4 && arguments[0] == "--run") {
    return RunRow(arguments[1], std::stoi(arguments[2]), std::stoi(arguments[3]));
  }
  std::string file;
  if (arguments.size() >= 2 && arguments[0] == "--json") {
    file = arguments[1];
    arguments.erase(arguments.begin(), arguments.begin() + 2);
  }
  return PrintTable(arguments, file);
}
