// Explanations of properties, operations and reasons for first-time readers.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

#define HOSTKIT_MEANING(name, number, caption, meaning) TextRow{number, meaning},
inline constexpr std::array kPropertyMeanings{PI_PROPERTIES(HOSTKIT_MEANING)
                                                  PI_SHORT_NAMES(HOSTKIT_MEANING)};
#undef HOSTKIT_MEANING

inline constexpr std::array kOperationMeanings{
    TextRow{PI::OP_UNDEFINED, "No operation."},
    TextRow{PI::OP_GET_EVENTS, "Passes the events that the plug-in has collected to the host."},
    TextRow{PI::OP_FORMAT_DEVICE,
            "Erases a drive and sets a new capacity or sector size. Its card must be detached."},
    TextRow{PI::OP_MAKE_ONLINE, "Brings the storage units of a drive online."},
    TextRow{PI::OP_MAKE_OFFLINE,
            "Takes the storage units of a drive offline: the system loses access to them."},
    TextRow{PI::OP_LOCATE_DEVICE, "Switches the locate LED of a card on."},
    TextRow{PI::OP_STOP_LOCATE_DEVICE, "Switches the locate LED of a card off."},
    TextRow{PI::OP_ATTACH, "Makes the drive of a detached card available to the system."},
    TextRow{PI::OP_DETACH,
            "Makes the drive of a card unavailable to the system. The drive must not be in use."},
    TextRow{PI::OP_FORCE_DETACH,
            "Makes the drive of a card unavailable to the system even if it is in use."},
};

#define HOSTKIT_MEANING(name, status, meaning, advice) TextRow{PI::Value::name, meaning},
inline constexpr std::array kReasonMeanings{PI_REASONS(HOSTKIT_MEANING)};
#undef HOSTKIT_MEANING

static_assert(NumbersAreAscending(kPropertyMeanings) && NumbersAreAscending(kOperationMeanings) &&
              NumbersAreAscending(kReasonMeanings));

}  // namespace HostKit
