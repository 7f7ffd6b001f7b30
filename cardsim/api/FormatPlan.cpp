#include "cardsim/api/FormatPlan.h"

#include <algorithm>
#include <limits>

#include "cardsim/api/CallFailure.h"

namespace CardSim {
namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

// Replaces a value only if the card has the attribute.
void Replace(Values& values, Attribute attribute, std::uint64_t number) {
  auto& value = At(values, attribute);
  if (value) value = number;
}

std::uint64_t PercentOf(std::uint64_t whole, std::uint64_t percent) {
  return whole / 100 * percent + whole % 100 * percent / 100;
}

// Returns a percentage of at most 255, the largest value of the attribute.
std::uint64_t Percentage(std::uint64_t part, std::uint64_t whole) {
  if (whole == 0) return 0;
  const auto percent = static_cast<long double>(part) * 100 / static_cast<long double>(whole);
  return static_cast<std::uint64_t>(std::min(percent, 255.0L));
}

void UpdateSizeAttributes(Handle& handle) HOST_REQUIRES(g_LibraryLock) {
  Card shown = *handle.card;
  const JobPlan& plan = handle.plan;
  Replace(shown.values, Attribute::iom_format_max_size_bytes, plan.limit);
  if (plan.bytes) Replace(shown.values, Attribute::iom_format_size_bytes, *plan.bytes);
  if (plan.bytes) {
    const auto percent = plan.percent.value_or(Percentage(*plan.bytes, plan.largest));
    Replace(shown.values, Attribute::iom_format_size_pct, percent);
  }
  handle.card = std::make_shared<const Card>(std::move(shown));
}

}  // namespace

void PrepareFormat(Handle& handle) {
  const Values& values = handle.card->values;
  const auto configured = Read<std::uint64_t>(values, Attribute::size_bytes, kNoLimit);
  handle.plan.largest =
      Read<std::uint64_t>(values, Attribute::iom_format_max_size_bytes, configured);
  handle.plan.limit = handle.plan.largest;
}

void RequestSizeMode(Handle& handle, std::uint32_t mode) {
  const Values& values = handle.card->values;
  if (mode != VSL_SIZE_MODE_OVERFORMAT) throw CallFailure{kBadValue, "unknown size mode"};
  const bool supported = Read(values, Attribute::iom_format_size_mode, false) &&
                         !Read(values, Attribute::iom_format_disallow_overformat, false);
  if (!supported) throw CallFailure{kNotSupported, "the card does not support overformatting"};
  const auto raised =
      Read<std::uint64_t>(values, Attribute::overformat_size_bytes, handle.plan.limit);
  handle.plan.limit = std::max(handle.plan.limit, raised);
  UpdateSizeAttributes(handle);
}

void RequestSizeBytes(Handle& handle, std::uint64_t bytes) {
  if (bytes == 0 || bytes > handle.plan.limit) {
    throw CallFailure{kBadValue,
                      "the size must be 1 to " + std::to_string(handle.plan.limit) + " bytes"};
  }
  handle.plan.bytes = bytes;
  handle.plan.percent.reset();
  UpdateSizeAttributes(handle);
}

void RequestSizePercent(Handle& handle, std::uint32_t percent) {
  if (percent == 0 || percent > 100)
    throw CallFailure{kBadValue, "the size must be 1 to 100 percent"};
  if (handle.plan.largest == kNoLimit) {
    throw CallFailure{kNotSupported, "the card reports no size to take a percentage of"};
  }
  handle.plan.bytes = PercentOf(handle.plan.largest, percent);
  handle.plan.percent = percent;
  UpdateSizeAttributes(handle);
}

void RequestSectorSize(Handle& handle, std::uint32_t bytes) {
  const Values& values = handle.card->values;
  const auto least = Read<std::uint32_t>(values, Attribute::iom_format_min_sector_size_bytes, 1);
  const auto most = Read<std::uint32_t>(values, Attribute::iom_format_max_sector_size_bytes,
                                        std::numeric_limits<std::uint32_t>::max());
  const auto step =
      std::max(1U, Read<std::uint32_t>(values, Attribute::iom_format_sector_size_multiplier, 1));
  const bool powerOfTwo = Read(values, Attribute::iom_format_power_of_two_sector_size, false);
  if (bytes == 0 || bytes < least || bytes > most) {
    throw CallFailure{kBadValue, "the sector size must be " + std::to_string(least) + " to " +
                                     std::to_string(most) + " bytes"};
  }
  if (bytes % step != 0) {
    throw CallFailure{kBadValue, "the sector size must be a multiple of " + std::to_string(step)};
  }
  if (powerOfTwo && (bytes & (bytes - 1)) != 0) {
    throw CallFailure{kBadValue, "the sector size must be a power of two"};
  }
  handle.plan.sector = bytes;
}

void ApplyFormat(Card& card, const JobPlan& plan) {
  Values& values = card.values;
  const auto sector =
      plan.sector.value_or(Read<std::uint32_t>(values, Attribute::sector_size_bytes, 1));
  const auto requested =
      plan.bytes.value_or(Read<std::uint64_t>(values, Attribute::iom_format_size_bytes, 0));
  // The size must be a multiple of the sector size.
  const auto bytes = requested - (sector == 0 ? 0 : requested % sector);
  Replace(values, Attribute::sector_size_bytes, sector);
  Replace(values, Attribute::iom_format_size_bytes, bytes);
  if (plan.bytes) {
    const auto percent = plan.percent.value_or(Percentage(bytes, plan.largest));
    Replace(values, Attribute::iom_format_size_pct, percent);
  }
}

}  // namespace CardSim
