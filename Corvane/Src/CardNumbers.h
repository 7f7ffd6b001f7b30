// The numbers of the card library that the plug-in distinguishes. The library's header may name
// them otherwise, or not at all.
#pragma once

#include <cstddef>
#include <cstdint>

namespace NAMESPACE_Corvane {

// From `vsl_init` alone: not ready yet, try again in a second.
constexpr std::uint64_t kLibraryNotReady = 27;

// Size mode that raises the largest size of a format to what over-formatting allows.
constexpr std::uint32_t kSizeModeOverformat = 11;

// Card states, `vsl_iom_state`.
enum CardStateNumber : std::uint32_t {
  kStateDetached = 0,
  kStateAttaching = 1,
  kStateAttached = 2,
  kStateDetaching = 3,
  kStateMinimal = 5
};

// Where the text of an error record begins, and how much room the record has.
constexpr std::size_t kErrorTextAt = 8;
constexpr std::size_t kErrorRecordSize = 1048;

}  // namespace NAMESPACE_Corvane
