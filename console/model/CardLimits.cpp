#include "console/model/CardLimits.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <variant>

#include "hostkit/Texts.h"
#include "hostkit/ValueTypes.h"

namespace Console {
namespace {

namespace V = PI::Value;

// clang-format off
constexpr Limit kLimits[] = {
    // measured              limit                           constant minimum severity           label       reason
    {"temperature_celsius",  "temperature_warning_celsius",  0,       false,  Severity::Warning, "warning",  V::TEMPERATURE_ABOVE_WARN},
    {"temperature_celsius",  "temperature_critical_celsius", 0,       false,  Severity::Bad,     "critical", V::TEMPERATURE_ABOVE_ERROR},
    {"reserve_space_ratio",  "reserve_space_warning_ratio",  0,       true,   Severity::Warning, "warning",  V::RESERVES_DEPLETED},
    {"slot_power_watts",     "power_limit_watts",            0,       false,  Severity::Warning, "limit",    V::PCI_OVERPOWER},
    {"endurance_used_ratio", nullptr,                        1,       false,  Severity::Warning, "rated",    V::NEAR_WEARING_OUT},
};
// clang-format on

constexpr Measurement kMeasurements[] = {
    {V::TEMPERATURE_ABOVE_WARN, "temperature_celsius", "temperature_warning_celsius"},
    {V::TEMPERATURE_WRITE_REGULATION, "temperature_celsius", "temperature_warning_celsius"},
    {V::TEMPERATURE_NEAR_ERROR, "temperature_celsius", "temperature_critical_celsius"},
    {V::TEMPERATURE_ABOVE_ERROR, "temperature_celsius", "temperature_critical_celsius"},
    {V::RESERVES_DEPLETED, "reserve_space_ratio", "reserve_space_warning_ratio"},
    {V::NEAR_WEARING_OUT, "endurance_used_ratio", nullptr},
    {V::LIFESPAN_WRITE_REGULATION, "endurance_used_ratio", nullptr},
    {V::THROT_WEAROUT, "endurance_used_ratio", nullptr},
    {V::POWER_WRITE_REGULATION, "slot_power_watts", "power_limit_watts"},
    {V::PCI_OVERPOWER, "slot_power_watts", "power_limit_watts"},
    {V::THROT_POWER, "slot_power_watts", "power_limit_watts"},
    {V::THROT_POWER_LIMIT, "slot_power_watts", "power_limit_watts"},
    {V::FIRMWARE_OUT_OF_DATE, "firmware_version", nullptr},
    {V::DRIVER_OUT_OF_DATE, "driver_version", nullptr},
};

std::optional<double> NumberOf(const Value& value) {
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::nullopt : std::optional<double>(*number);
}

bool IsExceeded(const Object& object, const Limit& limit) {
  const auto number = NumberOf(ReadField(object, limit.m_Measured));
  const auto value = ValueOf(object, limit);
  if (!number || !value) return false;
  return limit.m_IsMinimum ? *number < *value : *number > *value;
}

// Returns the most severe limit that the field exceeds, or null.
const Limit* ExceededLimit(const Object& object, const std::string& field) {
  const Limit* exceeded = nullptr;
  for (const Limit* limit : LimitsOf(field)) {
    if (IsExceeded(object, *limit)) exceeded = limit;
  }
  return exceeded;
}

bool IsFailure(std::int32_t reason) {
  return HostKit::StatusOf(static_cast<std::uint32_t>(reason)) == V::FAILED;
}

bool IsWarning(std::int32_t reason) {
  return HostKit::StatusOf(static_cast<std::uint32_t>(reason)) == V::WARNING;
}

// Whether `reported` is about the measured value of `limit` and is at least as severe.
bool Covers(std::int32_t reported, const Limit& limit) {
  const Measurement* const row = MeasurementOf(reported);
  if (row == nullptr || std::string(row->m_Measured) != limit.m_Measured) return false;
  return IsFailure(reported) || (IsWarning(reported) && !IsFailure(limit.m_Reason));
}

std::vector<std::int32_t> ReportedReasons(const Object& object) {
  const PI::CProperty* reasons = object.Find(PI::Property::ADDITIONAL_STATUS);
  if (reasons == nullptr || reasons->m_ValueType != HostKit::VALUE_TYPE_MULTI_CHOICE) return {};
  const auto& values = reasons->m_Value.m_MultiValue.m_Values;
  return {values.begin(), values.end()};
}

}  // namespace

std::vector<const Limit*> LimitsOf(const std::string& field) {
  std::vector<const Limit*> limits;
  for (const Limit& limit : kLimits) {
    if (field == limit.m_Measured) limits.push_back(&limit);
  }
  return limits;
}

std::optional<double> ValueOf(const Object& object, const Limit& limit) {
  if (limit.m_Field == nullptr) return limit.m_Constant;
  return NumberOf(ReadField(object, limit.m_Field));
}

Severity LimitSeverity(const Object& object, const std::string& field) {
  const Limit* const exceeded = ExceededLimit(object, field);
  return exceeded == nullptr ? Severity::Neutral : exceeded->m_Severity;
}

const Measurement* MeasurementOf(std::int32_t reason) {
  const auto* const found =
      std::find_if(std::begin(kMeasurements), std::end(kMeasurements),
                   [&](const Measurement& row) { return row.m_Reason == reason; });
  return found == std::end(kMeasurements) ? nullptr : found;
}

std::vector<std::int32_t> UnreportedReasons(const Object& object) {
  if (object.m_Kind != Kind::Adapter || object.m_Access != Access::Readable) return {};
  const std::vector<std::int32_t> reported = ReportedReasons(object);
  std::vector<std::int32_t> unreported;
  for (const Limit& limit : kLimits) {
    if (ExceededLimit(object, limit.m_Measured) != &limit) continue;
    const bool isCovered = std::any_of(reported.begin(), reported.end(),
                                       [&](std::int32_t reason) { return Covers(reason, limit); });
    if (!isCovered) unreported.push_back(limit.m_Reason);
  }
  return unreported;
}

}  // namespace Console
