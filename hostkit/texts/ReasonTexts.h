// For each reason for an adapter's status: the least severe status that it allows, and the advice.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr PI::_VALUE_ID kOkStatus = PI::Value::OK;
inline constexpr PI::_VALUE_ID kWarningStatus = PI::Value::WARNING;
inline constexpr PI::_VALUE_ID kFailedStatus = PI::Value::FAILED;

#define HOSTKIT_REASON(name, status, meaning, advice) ReasonRow{PI::Value::name, status, advice},
inline constexpr std::array kReasonTexts{PI_REASONS(HOSTKIT_REASON)};
#undef HOSTKIT_REASON

static_assert(NumbersAreAscending(kReasonTexts));

}  // namespace HostKit
