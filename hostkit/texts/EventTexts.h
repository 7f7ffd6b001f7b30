// The registry of events: severity, sentence in the log, and either advice or the reason for an
// adapter's status that the event reports. %1 is the adapter's name, %2 the drive's.
//
// Where two events report the same reason, the one with the lower number is its start.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/ReasonTexts.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr PI::_SEVERITY kInformation = PI::SEVERITY_INFORMATION;
inline constexpr PI::_SEVERITY kWarning = PI::SEVERITY_WARNING;
inline constexpr PI::_SEVERITY kError = PI::SEVERITY_ERROR;

// An event that reports a reason has the reason's advice.
constexpr EventAdvice OfReason(PI::_VALUE_ID reason) {
  const auto number = static_cast<std::uint32_t>(reason);
  return {number, FindRow(kReasonTexts, number)->m_Advice};
}

constexpr EventAdvice Do(const char* what) {
  return {0, what};
}

constexpr EventAdvice kNothingToDo = {0, ""};

// clang-format off
inline constexpr std::array kEventTexts{
    EventRow{PI::Event::UNDEFINED, kInformation, 0,
             "An event without a description.",
             kNothingToDo},
    EventRow{PI::Event::CONNECTED, kInformation, 0,
             "The connection was made.",
             kNothingToDo},
    EventRow{PI::Event::DISCONNECTED, kInformation, 0,
             "The connection was ended.",
             kNothingToDo},
    EventRow{PI::Event::UNEXPECTED_DISCONNECT, kError, 0,
             "The connection was lost.",
             Do("Check that the other side is running, then connect again.")},
    EventRow{PI::Event::TEST_TRAP, kInformation, 0,
             "Test message. No action needed.",
             kNothingToDo},
    EventRow{PI::Event::CTRL_INTERNAL_ERROR, kError, 1,
             "Adapter %1 has an internal error.",
             OfReason(PI::Value::INTERNAL_ERROR)},
    EventRow{PI::Event::CTRL_INCOMPATIBLE_PCI_BANDWIDTH, kError, 1,
             "The PCI bandwidth available to adapter %1 is not compatible with it.",
             OfReason(PI::Value::INCOMPATIBLE_PCI_BANDWIDTH)},
    EventRow{PI::Event::CTRL_PARTIAL_WRITE_THROTTLING, kError, 1,
             "Adapter %1 is throttling writes.",
             OfReason(PI::Value::PARTIAL_WRITE_THROTTLING)},
    EventRow{PI::Event::CTRL_MAXIMUM_WRITE_THROTTLING, kError, 1,
             "Adapter %1 is throttling writes to the maximum.",
             OfReason(PI::Value::COMPLETE_WRITE_THROTTLING)},
    EventRow{PI::Event::CTRL_TEMPERATURE_NEAR_ERROR, kError, 1,
             "The temperature of adapter %1 is close to its maximum.",
             OfReason(PI::Value::TEMPERATURE_NEAR_ERROR)},
    EventRow{PI::Event::CTRL_TEMPERATURE_ABOVE_ERROR, kError, 1,
             "The temperature of adapter %1 is above its maximum.",
             OfReason(PI::Value::TEMPERATURE_ABOVE_ERROR)},
    EventRow{PI::Event::CTRL_INTERNAL_VOLTAGE_OUT_OF_RANGE, kError, 1,
             "The internal voltage of adapter %1 is out of range.",
             OfReason(PI::Value::INTERNAL_VOLTAGE_OUT_OF_RANGE)},
    EventRow{PI::Event::CTRL_AUXILIARY_VOLTAGE_OUT_OF_RANGE, kError, 1,
             "The auxiliary voltage of adapter %1 is out of range.",
             OfReason(PI::Value::AUXILIARY_VOLTAGE_OUT_OF_RANGE)},
    EventRow{PI::Event::CTRL_FLASHBACK, kError, 1,
             "Adapter %1 reports a flashback error.",
             OfReason(PI::Value::FLASHBACK)},
    EventRow{PI::Event::CTRL_NONCORRECTABLE_PCI_ERRORS, kError, 1,
             "Adapter %1 has uncorrectable PCI errors.",
             OfReason(PI::Value::NONCORRECTABLE_PCI_ERRORS)},
    EventRow{PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, kWarning, 1,
             "The temperature of adapter %1 is above its warning threshold.",
             OfReason(PI::Value::TEMPERATURE_ABOVE_WARN)},
    EventRow{PI::Event::CTRL_NEAR_WEARING_OUT, kWarning, 1,
             "Adapter %1 is nearly worn out.",
             OfReason(PI::Value::NEAR_WEARING_OUT)},
    EventRow{PI::Event::CTRL_NONOPTIMAL_PCI_BANDWIDTH, kWarning, 1,
             "The PCI bandwidth available to adapter %1 is not optimal.",
             OfReason(PI::Value::NONOPTIMAL_PCI_BANDWIDTH)},
    EventRow{PI::Event::CTRL_CORRECTABLE_PCI_ERRORS, kWarning, 1,
             "Adapter %1 has PCI errors that were corrected.",
             OfReason(PI::Value::CORRECTABLE_PCI_ERRORS)},
    EventRow{PI::Event::CTRL_NO_POWERLOSS_PROTECTION, kWarning, 1,
             "Adapter %1 is not protected against power loss.",
             OfReason(PI::Value::NO_POWERLOSS_PROTECTION)},
    EventRow{PI::Event::CTRL_POWER_WRITE_REGULATION, kWarning, 1,
             "Adapter %1 regulates writes to limit its power draw.",
             OfReason(PI::Value::POWER_WRITE_REGULATION)},
    EventRow{PI::Event::CTRL_TEMPERATURE_WRITE_REGULATION, kWarning, 1,
             "Adapter %1 regulates writes because of its temperature.",
             OfReason(PI::Value::TEMPERATURE_WRITE_REGULATION)},
    EventRow{PI::Event::CTRL_LIFESPAN_WRITE_REGULATION, kWarning, 1,
             "Adapter %1 regulates writes to reach its planned lifetime.",
             OfReason(PI::Value::LIFESPAN_WRITE_REGULATION)},
    EventRow{PI::Event::CTRL_MINIMAL, kWarning, 1,
             "Adapter %1 runs in minimal mode.",
             OfReason(PI::Value::MINIMAL)},
    EventRow{PI::Event::CTRL_PCI_OVERPOWER, kWarning, 1,
             "Adapter %1 draws more power from its PCI slot than the slot is rated for.",
             OfReason(PI::Value::PCI_OVERPOWER)},
    EventRow{PI::Event::CTRL_LEB_MAP_MISSING, kWarning, 1,
             "The block map of adapter %1 is missing.",
             OfReason(PI::Value::LEB_MAP_MISSING)},
    EventRow{PI::Event::CTRL_UPDATE_IN_PROGRESS, kWarning, 1,
             "An update of adapter %1 is in progress.",
             OfReason(PI::Value::UPDATE_IN_PROGRESS)},
    EventRow{PI::Event::CTRL_RESERVES_DEPLETED, kWarning, 1,
             "The reserve space of adapter %1 is used up.",
             OfReason(PI::Value::RESERVES_DEPLETED)},
    EventRow{PI::Event::CTRL_NORMAL, kInformation, 1,
             "Adapter %1 is back to normal.",
             kNothingToDo},
    EventRow{PI::Event::CTRL_ATTACH_FAILED, kError, 1,
             "Adapter %1 could not be attached.",
             Do("Check the kernel log for the driver's messages, and corvane-host status for the "
                "reason.")},
    EventRow{PI::Event::CTRL_DETACH_FAILED, kWarning, 1,
             "Adapter %1 could not be detached.",
             Do("Find out what is still using the drive, stop it, and detach again.")},
    EventRow{PI::Event::CTRL_ATTACHED, kInformation, 1,
             "Adapter %1 was attached. Its drive is available to the system.",
             OfReason(PI::Value::ATTACHED)},
    EventRow{PI::Event::CTRL_DETACHED, kError, 1,
             "Adapter %1 was detached. Its drive is not available to the system.",
             OfReason(PI::Value::DETACHED)},
    EventRow{PI::Event::PD_FORMAT_CHANGED, kInformation, 2,
             "On adapter %1, the format of drive %2 has changed.",
             kNothingToDo},
    EventRow{PI::Event::CTRL_WRITE_REG_POWER, kInformation, 1,
             "Adapter %1 regulates writes because of the power available to it.",
             OfReason(PI::Value::POWER_WRITE_REGULATION)},
    EventRow{PI::Event::CTRL_UNACTIVATED_FIRMWARE, kInformation, 1,
             "Adapter %1 has new firmware that is not active yet.",
             OfReason(PI::Value::UNACTIVATED_FIRMWARE)},
    EventRow{PI::Event::CTRL_PNPADD, kInformation, 1,
             "Adapter %1 was added.",
             kNothingToDo},
    EventRow{PI::Event::CTRL_PNPREMOVE, kWarning, 1,
             "Adapter %1 was removed or is not responding.",
             Do("If the card was not taken out, check the kernel log; reseat the card or have it "
                "replaced.")},
};
// clang-format on

// Whether the sentence has each of its placeholders once, in order, and no other.
constexpr bool PlaceholdersAgree(const EventRow& row) {
  unsigned int named = 0;
  for (const char* at = row.m_Text; *at != 0; ++at) {
    if (*at != '%') continue;
    ++named;
    if (at[1] != static_cast<char>('0' + named)) return false;
  }
  return named == row.m_Placeholders;
}

constexpr bool AllPlaceholdersAgree() {
  for (const EventRow& row : kEventTexts) {
    if (!PlaceholdersAgree(row)) return false;
  }
  return true;
}

// Every warning and error has advice.
constexpr bool WarningsAdvise() {
  for (const EventRow& row : kEventTexts) {
    if (row.m_Severity >= kWarning && *row.m_Advice.m_Text == 0) return false;
  }
  return true;
}

static_assert(NumbersRise(kEventTexts) && AllPlaceholdersAgree() && WarningsAdvise());

}  // namespace HostKit
