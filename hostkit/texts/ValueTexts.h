// Captions of the values of choices.
#pragma once

#include "host/Identifiers.h"
#include "hostkit/texts/TextRow.h"

namespace HostKit {

#define HOSTKIT_CAPTION(name, number, text, caption) TextRow{number, caption},

inline constexpr std::array kValueTexts{TextRow{PI::Value::UNDEFINED, "Unknown"},
                                        PI_VALUES(HOSTKIT_CAPTION)};
#undef HOSTKIT_CAPTION

static_assert(NumbersAreAscending(kValueTexts));

}  // namespace HostKit
