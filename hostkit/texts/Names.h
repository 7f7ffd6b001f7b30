// The identifiers' names, from the lists that also define the enumerators.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

#define HOSTKIT_FIRST(first, ...) first
#define HOSTKIT_ROW(name, ...) TextRow{HOSTKIT_FIRST(__VA_ARGS__, 0), #name},
#define HOSTKIT_NAMED_ROW(name, number, text, ...) TextRow{number, text},

inline constexpr std::array kErrorNames{TextRow{PI::SUCCESS, "SUCCESS"}, PI_ERRORS(HOSTKIT_ROW)};

inline constexpr std::array kEventNames{
    TextRow{PI::Event::UNDEFINED, "UNDEFINED"},
    TextRow{PI::Event::CONNECTED, "CONNECTED"},
    TextRow{PI::Event::DISCONNECTED, "DISCONNECTED"},
    TextRow{PI::Event::UNEXPECTED_DISCONNECT, "UNEXPECTED_DISCONNECT"},
    TextRow{PI::Event::TEST_TRAP, "TEST_TRAP"},
    PI_EVENTS(HOSTKIT_ROW)};

inline constexpr std::array kOperationNames{TextRow{PI::OP_UNDEFINED, "OP_UNDEFINED"},
                                            PI_OPERATIONS(HOSTKIT_ROW)};

// Properties come first: a name shared by a property and a short name refers to the property.
inline constexpr std::array kPropertyNames{PI_PROPERTIES(HOSTKIT_ROW) PI_SHORT_NAMES(HOSTKIT_ROW)};

inline constexpr std::array kValueNames{TextRow{PI::Value::UNDEFINED, "UNDEFINED"},
                                        PI_VALUES(HOSTKIT_NAMED_ROW)};

#undef HOSTKIT_ROW
#undef HOSTKIT_FIRST
#undef HOSTKIT_NAMED_ROW

static_assert(NumbersAreAscending(kErrorNames) && NumbersAreAscending(kEventNames) &&
              NumbersAreAscending(kOperationNames) && NumbersAreAscending(kPropertyNames) &&
              NumbersAreAscending(kValueNames));

}  // namespace HostKit
