// Compares the cost of our code with a baseline: the least that any code must do for the same
// result. Both run in turn in one process, so that the machine's load affects both, and the minimum
// of each counts.
#pragma once

#include <functional>
#include <vector>

namespace CorvaneBench {

// Runs something, and returns the processor time that one run took, in nanoseconds.
using Sample = std::function<double()>;

// Returns a sample of `work`, which is repeated until the clock can measure it.
Sample Repeated(std::function<void()> work);

// What a row measures.
struct Comparison {
  Sample m_Ours;
  Sample m_Baseline;
  int m_Rounds = 25;
};

enum class Result {
  Ratio,          // ours divided by the baseline
  ExcessPerUnit,  // ours less the baseline, divided by the size, in microseconds
};

struct Row {
  const char* m_Name;
  std::vector<int> m_Sizes;  // for example, numbers of cards
  Result m_Result;
  std::vector<double> m_Goals;  // by size
  Comparison (*m_Make)(int size);
};

// The rows of each group, in the order in which they are printed.
const std::vector<Row>& PluginRows();
const std::vector<Row>& StatementRows();
const std::vector<Row>& ToolkitRows();

}  // namespace CorvaneBench
