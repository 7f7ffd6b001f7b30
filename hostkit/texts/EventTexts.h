// The sentences of the event log. %1 is the adapter's name, %2 the drive's.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/Rows.h"

namespace HostKit {

// clang-format off
inline constexpr std::array kEventTexts{
    EventRow{PI::Event::UNDEFINED, 0, "An event without a description."},
    EventRow{PI::Event::CONNECTED, 0, "The connection was made."},
    EventRow{PI::Event::DISCONNECTED, 0, "The connection was ended."},
    EventRow{PI::Event::UNEXPECTED_DISCONNECT, 0, "The connection was lost."},
    EventRow{PI::Event::TEST_TRAP, 0, "A test message. Nothing has happened."},
    EventRow{PI::Event::CTRL_INTERNAL_ERROR, 1,
             "Adapter %1 has an internal error."},
    EventRow{PI::Event::CTRL_INCOMPATIBLE_PCI_BANDWIDTH, 1,
             "The PCI bandwidth available to adapter %1 is not compatible with it."},
    EventRow{PI::Event::CTRL_PARTIAL_WRITE_THROTTLING, 1,
             "Adapter %1 has slowed down writes."},
    EventRow{PI::Event::CTRL_MAXIMUM_WRITE_THROTTLING, 1,
             "Adapter %1 has slowed down writes as far as it can."},
    EventRow{PI::Event::CTRL_TEMPERATURE_NEAR_ERROR, 1,
             "The temperature of adapter %1 is close to its highest permitted value."},
    EventRow{PI::Event::CTRL_TEMPERATURE_ABOVE_ERROR, 1,
             "The temperature of adapter %1 is above its highest permitted value."},
    EventRow{PI::Event::CTRL_INTERNAL_VOLTAGE_OUT_OF_RANGE, 1,
             "The internal voltage of adapter %1 is out of range."},
    EventRow{PI::Event::CTRL_AUXILIARY_VOLTAGE_OUT_OF_RANGE, 1,
             "The auxiliary voltage of adapter %1 is out of range."},
    EventRow{PI::Event::CTRL_FLASHBACK, 1,
             "Adapter %1 reports a flashback error."},
    EventRow{PI::Event::CTRL_NONCORRECTABLE_PCI_ERRORS, 1,
             "Adapter %1 has PCI errors that could not be corrected."},
    EventRow{PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, 1,
             "The temperature of adapter %1 is above its warning level."},
    EventRow{PI::Event::CTRL_NEAR_WEARING_OUT, 1,
             "Adapter %1 is nearly worn out."},
    EventRow{PI::Event::CTRL_NONOPTIMAL_PCI_BANDWIDTH, 1,
             "The PCI bandwidth available to adapter %1 is not optimal."},
    EventRow{PI::Event::CTRL_CORRECTABLE_PCI_ERRORS, 1,
             "Adapter %1 has PCI errors, which were corrected."},
    EventRow{PI::Event::CTRL_NO_POWERLOSS_PROTECTION, 1,
             "Adapter %1 is not protected against a loss of power."},
    EventRow{PI::Event::CTRL_POWER_WRITE_REGULATION, 1,
             "Adapter %1 regulates writes to limit its power draw."},
    EventRow{PI::Event::CTRL_TEMPERATURE_WRITE_REGULATION, 1,
             "Adapter %1 regulates writes because of its temperature."},
    EventRow{PI::Event::CTRL_LIFESPAN_WRITE_REGULATION, 1,
             "Adapter %1 regulates writes to reach its planned lifetime."},
    EventRow{PI::Event::CTRL_MINIMAL, 1,
             "Adapter %1 runs in minimal mode."},
    EventRow{PI::Event::CTRL_PCI_OVERPOWER, 1,
             "Adapter %1 draws more power from its PCI slot than the slot is rated for."},
    EventRow{PI::Event::CTRL_LEB_MAP_MISSING, 1,
             "The block map of adapter %1 is missing."},
    EventRow{PI::Event::CTRL_UPDATE_IN_PROGRESS, 1,
             "An update of adapter %1 is in progress."},
    EventRow{PI::Event::CTRL_RESERVES_DEPLETED, 1,
             "The reserve space of adapter %1 is used up."},
    EventRow{PI::Event::CTRL_NORMAL, 1,
             "Adapter %1 works normally again."},
    EventRow{PI::Event::CTRL_ATTACH_FAILED, 1,
             "Adapter %1 could not be attached."},
    EventRow{PI::Event::CTRL_DETACH_FAILED, 1,
             "Adapter %1 could not be detached."},
    EventRow{PI::Event::CTRL_ATTACHED, 1,
             "Adapter %1 was attached. Its drive is available to the system."},
    EventRow{PI::Event::CTRL_DETACHED, 1,
             "Adapter %1 was detached. Its drive is not available to the system."},
    EventRow{PI::Event::PD_FORMAT_CHANGED, 2,
             "On adapter %1 the format of drive %2 has changed."},
    EventRow{PI::Event::CTRL_WRITE_REG_POWER, 1,
             "Adapter %1 regulates writes because of the power available to it."},
    EventRow{PI::Event::CTRL_UNACTIVATED_FIRMWARE, 1,
             "Adapter %1 has new firmware that is not active yet."},
    EventRow{PI::Event::CTRL_PNPADD, 1,
             "Adapter %1 was added."},
    EventRow{PI::Event::CTRL_PNPREMOVE, 1,
             "Adapter %1 was removed or does not answer."},
};
// clang-format on

// Whether the sentence names each of its places once, and no other.
constexpr bool PlacesAgree(const EventRow& row) {
  unsigned int named = 0;
  for (const char* at = row.m_Text; *at != 0; ++at) {
    if (*at != '%') continue;
    ++named;
    if (at[1] != static_cast<char>('0' + named)) return false;
  }
  return named == row.m_Places;
}

constexpr bool AllPlacesAgree() {
  for (const EventRow& row : kEventTexts) {
    if (!PlacesAgree(row)) return false;
  }
  return true;
}

static_assert(NumbersRise(kEventTexts) && AllPlacesAgree());

}  // namespace HostKit
