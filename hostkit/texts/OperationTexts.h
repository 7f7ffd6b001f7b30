// Captions of the operations, and the questions that the host asks before some of them.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

inline constexpr std::array kOperationTexts{
    TextRow{PI::OP_UNDEFINED, "No operation"},
    TextRow{PI::OP_GET_EVENTS, "Collect events"},
    TextRow{PI::OP_FORMAT_DEVICE, "Format"},
    TextRow{PI::OP_MAKE_ONLINE, "Bring online"},
    TextRow{PI::OP_MAKE_OFFLINE, "Take offline"},
    TextRow{PI::OP_LOCATE_DEVICE, "Switch the locate LED on"},
    TextRow{PI::OP_STOP_LOCATE_DEVICE, "Switch the locate LED off"},
    TextRow{PI::OP_ATTACH, "Attach"},
    TextRow{PI::OP_DETACH, "Detach"},
    TextRow{PI::OP_FORCE_DETACH, "Force detach"},
};

// The numbers are values of `COperation::m_ConfirmText`.
inline constexpr std::array kHostTexts{
    TextRow{22029,
            "The system will lose access to the drive until it is online again. Take it offline?"},
    TextRow{22031, "The drive will be available to the system. Bring it online?"},
    TextRow{22110,
            "Attaching makes the adapter's drive available to the system and may take several "
            "minutes. Attach the adapter?"},
    TextRow{22111,
            "Detaching makes the adapter's drive unavailable to the system. The drive must not be "
            "in use. Detach the adapter?"},
};

static_assert(NumbersAreAscending(kOperationTexts) && NumbersAreAscending(kHostTexts));

}  // namespace HostKit
