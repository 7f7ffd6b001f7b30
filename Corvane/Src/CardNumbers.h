// Numbers of the card library. The library's header may use other names for them, or none.
#pragma once

#include <cstddef>
#include <cstdint>

namespace NAMESPACE_Corvane {

// Result of `vsl_init` only: the library is not ready yet. Try again after one second.
constexpr std::uint64_t kLibraryNotReady = 27;

// The size mode that raises the maximum size of a format to the limit for over-formatting.
constexpr std::uint32_t kSizeModeOverformat = 11;

// Card states returned by `vsl_iom_state`.
enum CardStateNumber : std::uint32_t {
  kStateDetached = 0,
  kStateAttaching = 1,
  kStateAttached = 2,
  kStateDetaching = 3,
  kStateMinimal = 5
};

// The offset of the text in an error record, and the size of the record, in bytes.
constexpr std::size_t kErrorTextOffset = 8;
constexpr std::size_t kErrorRecordSize = 1048;

}  // namespace NAMESPACE_Corvane
