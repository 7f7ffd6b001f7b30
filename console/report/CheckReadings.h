// The measured values of cards in monitoring checks, with the ranges that they must be in.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Options.h"
#include "console/model/FieldTable.h"
#include "console/model/Model.h"
#include "console/report/CheckRange.h"

namespace Console {

// From best to worst; UNKNOWN must not hide WARNING or CRITICAL.
enum class CheckState { Ok, Unknown, Warning, Critical };

struct ReadingRow;

// Known values of a card. Ranges and limits are in the unit of the performance data: percent for
// ratios. An empty member is unknown or does not apply.
struct CheckReading {
  const Object* m_pObject = nullptr;
  const ReadingRow* m_pRow = nullptr;
  std::string m_Label;  // of the performance data
  Value m_Value;
  std::optional<CheckRange> m_Warning;
  std::optional<CheckRange> m_Critical;
  std::optional<double> m_Minimum;
  std::optional<double> m_Maximum;
};

// A value that is out of a range of the user, or unknown.
struct Breach {
  const char* m_Field = "";
  CheckState m_State = CheckState::Ok;
  std::string m_Text;    // "temperature 79 °C, limit 70 °C"
  const char* m_Reason;  // the status reason that reports the same problem; null: none
};

// The ranges given on the command line, by the name of the option.
using CheckRanges = std::map<std::string, CheckRange>;

// Parses all thresholds in the options. Throws `Failure` for an invalid range.
CheckRanges ParseThresholds(const Options& options);

// Returns the known values of a card, labeled with its name in time series. A range of the user
// applies in addition to the card's own limit.
std::vector<CheckReading> ReadingsOf(const Object& adapter, const std::string& name,
                                     const CheckRanges& ranges);

// Returns the values of a card that are outside the user's ranges, at most one per field.
std::vector<Breach> BreachesOf(const Object& adapter, const CheckRanges& ranges, bool ascii);

// Returns the field of a reading.
const char* FieldOf(const CheckReading& reading);
// Returns the factor from base units to the unit of the performance data.
double ScaleOf(const CheckReading& reading);
// Returns one item of performance data, without trailing separators.
std::string PerformanceText(const CheckReading& reading);

}  // namespace Console
