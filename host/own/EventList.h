// A list of the events. Identifiers.h generates enumerators from it, and the host kit generates the
// messages of its event log.
//
// The host defines the numbers: entries may be added, but never renumbered.
#pragma once

// clang-format off

// Each entry is: name, number, lowest severity, number of placeholders in the message, message, and
// advice. An event has the same number at every severity. %1 in a message is the name of the
// adapter, %2 that of the drive. The advice is that of a reason (ReasonAdvice), a sentence
// (Advice), or none (kNoAdvice); hostkit/texts/EventTexts.h defines these, and the names of the
// severities.
#define PI_EVENTS(X) \
  X(CTRL_INTERNAL_ERROR, 10957, kError, 1, \
    "Adapter %1 has an internal error.", \
    ReasonAdvice(PI::Value::INTERNAL_ERROR)) \
  X(CTRL_INCOMPATIBLE_PCI_BANDWIDTH, 10958, kError, 1, \
    "The PCI bandwidth available to adapter %1 is not compatible with it.", \
    ReasonAdvice(PI::Value::INCOMPATIBLE_PCI_BANDWIDTH)) \
  X(CTRL_PARTIAL_WRITE_THROTTLING, 10959, kError, 1, \
    "Adapter %1 is throttling writes.", \
    ReasonAdvice(PI::Value::PARTIAL_WRITE_THROTTLING)) \
  X(CTRL_MAXIMUM_WRITE_THROTTLING, 10960, kError, 1, \
    "Adapter %1 is throttling writes almost completely.", \
    ReasonAdvice(PI::Value::COMPLETE_WRITE_THROTTLING)) \
  X(CTRL_TEMPERATURE_NEAR_ERROR, 10961, kError, 1, \
    "The temperature of adapter %1 is close to its maximum.", \
    ReasonAdvice(PI::Value::TEMPERATURE_NEAR_ERROR)) \
  X(CTRL_TEMPERATURE_ABOVE_ERROR, 10962, kError, 1, \
    "The temperature of adapter %1 is above its maximum.", \
    ReasonAdvice(PI::Value::TEMPERATURE_ABOVE_ERROR)) \
  X(CTRL_INTERNAL_VOLTAGE_OUT_OF_RANGE, 10963, kError, 1, \
    "The internal voltage of adapter %1 is out of range.", \
    ReasonAdvice(PI::Value::INTERNAL_VOLTAGE_OUT_OF_RANGE)) \
  X(CTRL_AUXILIARY_VOLTAGE_OUT_OF_RANGE, 10964, kError, 1, \
    "The auxiliary voltage of adapter %1 is out of range.", \
    ReasonAdvice(PI::Value::AUXILIARY_VOLTAGE_OUT_OF_RANGE)) \
  X(CTRL_FLASHBACK, 10965, kError, 1, \
    "Adapter %1 reports a flashback error.", \
    ReasonAdvice(PI::Value::FLASHBACK)) \
  X(CTRL_NONCORRECTABLE_PCI_ERRORS, 10966, kError, 1, \
    "Adapter %1 has uncorrectable PCI errors.", \
    ReasonAdvice(PI::Value::NONCORRECTABLE_PCI_ERRORS)) \
  X(CTRL_TEMPERATURE_ABOVE_WARN, 10967, kWarning, 1, \
    "The temperature of adapter %1 is above its warning threshold.", \
    ReasonAdvice(PI::Value::TEMPERATURE_ABOVE_WARN)) \
  X(CTRL_NEAR_WEARING_OUT, 10968, kWarning, 1, \
    "Adapter %1 is nearly worn out.", \
    ReasonAdvice(PI::Value::NEAR_WEARING_OUT)) \
  X(CTRL_NONOPTIMAL_PCI_BANDWIDTH, 10969, kWarning, 1, \
    "The PCI bandwidth available to adapter %1 is not optimal.", \
    ReasonAdvice(PI::Value::NONOPTIMAL_PCI_BANDWIDTH)) \
  X(CTRL_CORRECTABLE_PCI_ERRORS, 10970, kWarning, 1, \
    "Adapter %1 has PCI errors that were corrected.", \
    ReasonAdvice(PI::Value::CORRECTABLE_PCI_ERRORS)) \
  X(CTRL_NO_POWERLOSS_PROTECTION, 10971, kWarning, 1, \
    "Adapter %1 is not protected against power loss.", \
    ReasonAdvice(PI::Value::NO_POWERLOSS_PROTECTION)) \
  X(CTRL_POWER_WRITE_REGULATION, 10972, kWarning, 1, \
    "Adapter %1 regulates writes to limit its power draw.", \
    ReasonAdvice(PI::Value::POWER_WRITE_REGULATION)) \
  X(CTRL_TEMPERATURE_WRITE_REGULATION, 10973, kWarning, 1, \
    "Adapter %1 regulates writes because of its temperature.", \
    ReasonAdvice(PI::Value::TEMPERATURE_WRITE_REGULATION)) \
  X(CTRL_LIFESPAN_WRITE_REGULATION, 10974, kWarning, 1, \
    "Adapter %1 regulates writes to reach its planned lifetime.", \
    ReasonAdvice(PI::Value::LIFESPAN_WRITE_REGULATION)) \
  X(CTRL_MINIMAL, 10975, kWarning, 1, \
    "Adapter %1 runs in minimal mode.", \
    ReasonAdvice(PI::Value::MINIMAL)) \
  X(CTRL_PCI_OVERPOWER, 10976, kWarning, 1, \
    "Adapter %1 draws more power from its PCI slot than the slot is rated for.", \
    ReasonAdvice(PI::Value::PCI_OVERPOWER)) \
  X(CTRL_LEB_MAP_MISSING, 10977, kWarning, 1, \
    "The block map of adapter %1 is missing.", \
    ReasonAdvice(PI::Value::LEB_MAP_MISSING)) \
  X(CTRL_UPDATE_IN_PROGRESS, 10978, kWarning, 1, \
    "An update of adapter %1 is in progress.", \
    ReasonAdvice(PI::Value::UPDATE_IN_PROGRESS)) \
  X(CTRL_RESERVES_DEPLETED, 10979, kWarning, 1, \
    "The reserve space of adapter %1 is used up.", \
    ReasonAdvice(PI::Value::RESERVES_DEPLETED)) \
  X(CTRL_NORMAL, 10980, kInformation, 1, \
    "Adapter %1 is back to normal.", \
    kNoAdvice) \
  X(CTRL_ATTACH_FAILED, 10981, kError, 1, \
    "Adapter %1 could not be attached.", \
    Advice("Check the kernel log for the driver's messages, and corvane-host status for the " \
           "reason.")) \
  X(CTRL_DETACH_FAILED, 10982, kWarning, 1, \
    "Adapter %1 could not be detached.", \
    Advice("Find out what is still using the drive, stop it, and detach again.")) \
  X(CTRL_ATTACHED, 10983, kInformation, 1, \
    "Adapter %1 was attached. Its drive is available to the system.", \
    ReasonAdvice(PI::Value::ATTACHED)) \
  X(CTRL_DETACHED, 10984, kError, 1, \
    "Adapter %1 was detached. Its drive is not available to the system.", \
    ReasonAdvice(PI::Value::DETACHED)) \
  X(PD_FORMAT_CHANGED, 10985, kInformation, 2, \
    "On adapter %1, the format of drive %2 has changed.", \
    kNoAdvice) \
  X(CTRL_WRITE_REG_POWER, 11086, kInformation, 1, \
    "Adapter %1 regulates writes because of the power available to it.", \
    ReasonAdvice(PI::Value::POWER_WRITE_REGULATION)) \
  X(CTRL_UNACTIVATED_FIRMWARE, 11087, kInformation, 1, \
    "Adapter %1 has new firmware that is not active yet.", \
    ReasonAdvice(PI::Value::UNACTIVATED_FIRMWARE)) \
  X(CTRL_PNPADD, 11093, kInformation, 1, \
    "Adapter %1 was added.", \
    kNoAdvice) \
  X(CTRL_PNPREMOVE, 11094, kWarning, 1, \
    "Adapter %1 was removed or is not responding.", \
    Advice("If the card was not taken out, check the kernel log; reseat the card or have it " \
           "replaced."))

// clang-format on
