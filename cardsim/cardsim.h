// Control interface of the simulated card library, for tests and tools.
//
// `StateFile` edits the file of simulated cards. The functions after it observe and change how the
// card library behaves in this process. The library's functions are in host/vsl_abstraction.h.
//
// A string that a card library call returns is valid until the next call with the same handle or
// `vsl_fini`. Its bytes are then overwritten with '~'; under the address sanitizer they are freed.
// A failed call returns an empty string that is always valid.
//
// Unless stated otherwise, everything here may be called by any thread at any time, also from
// several processes on the same file. Strings and vectors that are returned belong to the caller.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#define CARDSIM_API __attribute__((visibility("default")))

namespace CardSim {

// An unknown card, attribute, status bit, kind of card or function. The message may suggest a name.
class CARDSIM_API NoSuchThing : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The name of a value of the attribute `iom_state`, such as "attached" for 2. A value that is not a
// state is "failed", as a host treats it. Never null; static.
CARDSIM_API const char* CardStateName(std::uint64_t state);

// A file of simulated cards. Holds only the path: the object may be copied, and each function
// opens the file again.
//
// Each change is atomic and made under the file's lock. Other processes and the card library in
// this one see it when they next create a handle or open a card, and status masks at their next
// read.
//
// Every function throws `std::runtime_error` with a message of one line if the file is missing,
// damaged or not trusted, or a value is not valid; `NoSuchThing` for an unknown name; and
// `std::bad_alloc` if memory runs out. The file is then unchanged.
class CARDSIM_API StateFile {
 public:
  // CARDSIM_STATE, else $XDG_STATE_HOME/corvane/cards.json, else ~/.local/state/corvane/cards.json.
  // Reads the environment only; the file need not exist. A process with more rights than its user
  // ignores these variables. Throws `std::bad_alloc` only.
  static std::filesystem::path DefaultPath();

  // Does not open the file. A relative path is resolved at each call.
  explicit StateFile(std::filesystem::path path);

  // Creates a file without cards, and the missing directories of its path. Throws if the file
  // exists, unless `overwrite`.
  void Create(bool overwrite = false);

  // Adds a card of the kind with this PCI device id, in the first free slot, and returns its name:
  // card0, card1, ... Works for any id and, for those of the shipped kinds, without any profile
  // file: these profiles are built into the library. A profile file is used for an id that only it
  // has; an id that no profile has gives a card like flash-365g with that id.
  std::string AddCard(std::uint16_t deviceId);
  // The same for a kind by its profile's name, such as "flash-1300g", or by its device id as text,
  // always hexadecimal: "0x1003" or "1003".
  std::string AddCard(const std::string& kind);
  // Adds `count` cards in one change and returns their names. If there is not room for all, none is
  // added and it throws.
  std::vector<std::string> AddCards(const std::string& kind, unsigned int count);

  // The names of all profiles: the built-in ones, then the files in the profile directory, which is
  // CARDSIM_PROFILES, else ../share/corvane/profiles from the directory of this library. The files
  // are not read. Throws if the directory that CARDSIM_PROFILES names cannot be listed.
  static std::vector<std::string> Profiles();

  // Removes a card and frees its slot. Handles of it stay valid; they refer to a card that is gone.
  void RemoveCard(const std::string& card);

  // The names of all cards, in the order of the file.
  std::vector<std::string> Cards() const;

  // Sets an attribute. Attributes are named as in the card library without vsl_: "serial_number",
  // "temp_internal_deg_c", "iom_format_size_pct", "current_warnings". `value` is JSON; for a string
  // attribute, anything that is not a JSON string is taken literally. Unsigned numbers may also be
  // hexadecimal, 0x1003. Units are those of the card library. Further attributes:
  //
  //   pci_device_id, reserve_status     what the library returns without a `vsl_has_` function
  //   iom_format_size_mode              true if a format has size modes
  //   overformat_size_bytes             the largest size in size mode 11, in bytes
  //   attach_ms, detach_ms, format_ms   duration of the jobs, in milliseconds
  //   in_use                            true makes a detach without force fail
  //   volumes                           [{"state": 1, "settable": true, "refuses": false}, ...]
  //
  // Setting `iom_state` also takes the card out of a running job, whose wait then fails.
  void Set(const std::string& card, const std::string& attribute, const std::string& value);

  // The value as JSON, or the word absent. Strings have their quotes.
  std::string Get(const std::string& card, const std::string& attribute) const;

  // Makes the attribute absent, so that its `vsl_has_` function returns false. For "volumes":
  // removes all.
  void MakeAbsent(const std::string& card, const std::string& attribute);

  // Sets or clears one bit of a status mask by its name, such as "TEMPERATURE_ABOVE_WARN", or with
  // its mask: "errors.FLASHBACK", "info.POWER_WRITE_REGULATION", "minimal.FORCED".
  // POWER_WRITE_REGULATION alone is the warning. Raising a bit of an absent mask adds the mask.
  void Raise(const std::string& card, const std::string& bit);
  void Clear(const std::string& card, const std::string& bit);

  // Makes every call of `function` fail with `code`, which is not 0, and `text`, in every process,
  // until `ClearFailure`. Replaces an earlier failure of the function.
  void Fail(const std::string& function, std::uint64_t code, const std::string& text);
  // Lets `function` work again. Does nothing if it was not made to fail.
  void ClearFailure(const std::string& function);

  // Writes a sysfs tree with one PCI device per card below `directory`, which is created if
  // missing. A tree written earlier is replaced; throws if there is one that cardsim did not write.
  // After another failure the tree may be incomplete; calling again completes it.
  void WriteSysfs(const std::filesystem::path& directory) const;

 private:
  std::filesystem::path m_Path;
};

// One call of a card library function.
struct CARDSIM_API Call {
  std::string function;      // "vsl_open"
  std::string handle;        // kind and number of the first handle: "card#1", "null", or empty
  std::string argument;      // what else matters: a path, a state, a size; or empty
  std::string text() const;  // the three in one line: "vsl_set_beacon_state card#1 0"
};

// Clears the log, hook, requested failures, handles and misuse; handle numbers restart at 1. Jobs
// that were running are abandoned: their cards return to the state before. Logging begins with the
// first `Reset` of a process, so that a program that never calls it does not pay for the log.
CARDSIM_API void Reset();

// The calls since `Reset`, in the order in which they began.
CARDSIM_API std::vector<Call> CallLog();
// The same as `Call::text`.
CARDSIM_API std::vector<std::string> CallTexts();

// Makes the `nth` call of `function` from now on, counted from 1, and the `times` - 1 calls after
// it fail with `code` and `text`, in this process. A `vsl_has_` or iterate function that fails
// returns false; any other read, 0 or an empty string. Several requests for one function count
// independently. Throws `NoSuchThing` for a function that the library does not have or that cannot
// fail, `std::runtime_error` if `nth` or `code` is 0.
CARDSIM_API void FailCall(const std::string& function, unsigned int nth, std::uint64_t code,
                          const std::string& text, unsigned int times = 1);

// Calls `hook` before every call, on the calling thread and with no lock held, so that it may wait,
// edit the file or call the card library. Replaces an earlier hook; an empty one ends it. A hook
// that is already running on another thread may still be running afterwards. An exception of the
// hook passes through the card library to its caller.
CARDSIM_API void SetHook(std::function<void(const Call&)> hook);

// Handles that were created and not yet destroyed, such as "card#1", in the order of creation.
// Iterated cards and volumes are left out, because callers do not destroy them.
CARDSIM_API std::vector<std::string> OpenHandles();

// Misuse of the card library since `Reset`, one line each, at most 1000:
//
//   a handle that is null, unknown, of the wrong kind, destroyed, or from before `vsl_fini`
//   a handle destroyed twice or while its card is open; an unmatched open or close
//   a read of an absent attribute, or one that needs an open card on one that is not open
//   a call before `vsl_init` or after `vsl_fini`
//   a call without an error record, which is carried out; only `vsl_destroy` may omit it
//
// A `vsl_has_` function with a null handle and `vsl_destroy` of a null handle are not misuse.
// `vsl_destroy` leaves the caller's variable unchanged, so that later use through it is noticed.
CARDSIM_API std::vector<std::string> Misuse();

}  // namespace CardSim
