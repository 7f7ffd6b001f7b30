// Control interface of the simulated card library, for tests and tools.
//
// `StateFile` edits the file of simulated cards. The functions after it observe and change how the
// card library behaves in this process. The library's functions are in host/vsl_abstraction.h.
//
// A string that a card library call returns is valid until the next call with the same handle or
// `vsl_fini`. After that, its bytes are overwritten with '~'; under the address sanitizer they are
// freed. A failed call returns an empty string that is always valid.
//
// Unless stated otherwise, all functions are thread-safe, and several processes may use the same
// file. Returned strings and vectors belong to the caller.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#define CARDSIM_API __attribute__((visibility("default")))

namespace CardSim {

// Thrown for an unknown card, attribute, status bit, kind of card or function. The message may
// suggest a name.
class CARDSIM_API UnknownName : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Returns the name of a value of the attribute `iom_state`, such as "attached" for 2, or "failed"
// for an unknown value, as hosts treat it. Never null. The string is static.
CARDSIM_API const char* CardStateName(std::uint64_t state);

// A file of simulated cards. The object contains only the path and can be copied; each function
// reopens the file.
//
// Each change is atomic and protected by the file's lock. Other processes and the card library in
// this process see it when they next create a handle or open a card; changed status masks are
// visible at the next read.
//
// Every function throws `std::runtime_error` with a one-line message if the file is missing,
// damaged or not trusted, or a value is invalid; `UnknownName` for an unknown name; and
// `std::bad_alloc` if memory runs out. In each case, the file is unchanged.
class CARDSIM_API StateFile {
 public:
  // Returns CARDSIM_STATE, else $XDG_STATE_HOME/corvane/cards.json, else
  // ~/.local/state/corvane/cards.json. The file need not exist. Without HOME, the home directory
  // comes from the user database. A process in secure-execution mode, such as a setuid program,
  // ignores these variables. Throws only `std::bad_alloc`.
  static std::filesystem::path DefaultPath();

  // Does not open the file. A relative path is resolved at each call.
  explicit StateFile(std::filesystem::path path);

  // Creates a file without cards, and the missing directories of its path. Throws if the file
  // exists and `overwrite` is false.
  void Create(bool overwrite = false);

  // Adds a card with this PCI device ID in the first free slot and returns the card's name: card0,
  // card1, ... Uses the built-in profile with that ID, or else one from the profile directory. If
  // there is none, uses flash-365g with that ID.
  std::string AddCard(std::uint16_t deviceId);
  // Adds a card. `kind` is a profile name, such as "flash-1300g", or a hexadecimal PCI device ID:
  // "0x1003" or "1003".
  std::string AddCard(const std::string& kind);
  // Adds `count` cards in one change and returns their names. Throws without adding a card if there
  // are not enough free slots.
  std::vector<std::string> AddCards(const std::string& kind, unsigned int count);

  // Returns the names of all profiles: the built-in ones, then the files in the profile directory,
  // which is CARDSIM_PROFILES, else ../share/corvane/profiles relative to the directory of this
  // library. The files are not read. Throws if the directory that CARDSIM_PROFILES names cannot be
  // listed.
  static std::vector<std::string> Profiles();

  // Removes a card and frees its slot. Handles of the card stay valid but refer to a removed card.
  void RemoveCard(const std::string& card);

  // Returns the names of all cards, in the order of the file.
  std::vector<std::string> Cards() const;

  // Sets an attribute. Attribute names are those of the card library without the vsl_ prefix:
  // "serial_number", "temp_internal_deg_c", "iom_format_size_pct", "current_warnings". `value` is
  // JSON; for a string attribute, anything that is not a JSON string is taken literally. Unsigned
  // numbers may also be hexadecimal, such as 0x1003. Units are those of the card library.
  // Additional attributes:
  //
  //   pci_device_id, reserve_status     values that have no `vsl_has_` function
  //   iom_format_size_mode              true if a format has size modes
  //   overformat_size_bytes             the largest size in size mode 11, in bytes
  //   attach_ms, detach_ms, format_ms   duration of the jobs, in milliseconds
  //   in_use                            if true, a detach without force fails
  //   volumes                           [{"state": 1, "settable": true, "refuses": false}, ...]:
  //                                     "settable": false: the state cannot be set;
  //                                     "refuses": true: setting it always fails
  //
  // Setting `iom_state` also aborts a running job of the card; waiting for that job then fails.
  void Set(const std::string& card, const std::string& attribute, const std::string& value);

  // Returns the value as JSON (strings are quoted), or "absent" if the attribute is absent.
  std::string Get(const std::string& card, const std::string& attribute) const;

  // Returns the names and values of all attributes of the card, absent ones included, at one time.
  // The values have the form of `Get`.
  std::vector<std::pair<std::string, std::string>> GetAll(const std::string& card) const;

  // Makes the attribute absent, so that its `vsl_has_` function returns false. For "volumes",
  // removes all volumes.
  void MakeAbsent(const std::string& card, const std::string& attribute);

  // Set or clear one bit of a status mask. `bit` is the bit's name, such as
  // "TEMPERATURE_ABOVE_WARN", optionally prefixed with the mask: "errors.FLASHBACK",
  // "info.POWER_WRITE_REGULATION", "minimal.FORCED". Without a prefix, POWER_WRITE_REGULATION is
  // the warning bit. `Raise` adds the mask if it is absent.
  void Raise(const std::string& card, const std::string& bit);
  void Clear(const std::string& card, const std::string& bit);

  // Makes every call to `function` in every process fail with `code` (nonzero) and `text`, until
  // `ClearFailure` is called. Replaces an earlier failure of the function. With a card, only calls
  // for this card fail.
  void Fail(const std::string& function, std::uint64_t code, const std::string& text);
  void Fail(const std::string& function, const std::string& card, std::uint64_t code,
            const std::string& text);
  // Makes every call to `function` for this card in every process wait for that many milliseconds,
  // at most a day, and then continue; 0: until `ClearFailure` is called or the card is removed.
  // Calls for other cards are not delayed. Replaces an earlier wait of the function.
  void Hang(const std::string& function, const std::string& card, std::uint64_t milliseconds = 0);
  // Clears the failure of `function`. Does nothing if there is none. With a card, clears the
  // failure and the wait of calls for this card. A call that is waiting continues.
  void ClearFailure(const std::string& function);
  void ClearFailure(const std::string& function, const std::string& card);

  // Writes a sysfs tree with one PCI device per card under `directory`, which is created if
  // missing. Replaces a tree that cardsim created earlier; throws if the existing tree was not
  // created by cardsim. After any other failure, the tree may be incomplete; another call completes
  // it.
  void WriteSysfs(const std::filesystem::path& directory) const;

 private:
  std::filesystem::path m_Path;
};

// One call of a card library function.
struct CARDSIM_API Call {
  std::string function;      // "vsl_open"
  std::string handle;        // kind and number of the first handle: "card#1", "null", or empty
  std::string argument;      // a path, a state or a size; or empty
  std::string text() const;  // the three in one line: "vsl_set_beacon_state card#1 0"
};

// Clears the log, the hook, the failures requested with `FailCall`, the handles and the misuse;
// handle numbers restart at 1. Running jobs are abandoned, and their cards return to their previous
// states. Logging starts with the first `Reset` in a process, so that programs that never call it
// do not pay for the log.
CARDSIM_API void Reset();

// Returns the calls since `Reset`, in the order in which they started.
CARDSIM_API std::vector<Call> CallLog();
// Returns the same calls as strings, each from `Call::text`.
CARDSIM_API std::vector<std::string> CallTexts();

// Makes the `nth` call to `function` from now on, counted from 1, and the `times` - 1 calls after
// it fail with `code` and `text`, in this process. A `vsl_has_` or iterate function that fails
// returns false; any other read returns 0 or an empty string. Several requests for one function
// count independently. Throws `UnknownName` for a function that the library does not have or that
// cannot fail, `std::runtime_error` if `nth` or `code` is 0.
CARDSIM_API void FailCall(const std::string& function, unsigned int nth, std::uint64_t code,
                          const std::string& text, unsigned int times = 1);

// Calls `hook` before every call, on the calling thread and without holding a lock, so that it may
// wait, edit the file or call the card library. Replaces an earlier hook; an empty function removes
// it. The earlier hook may still be running on another thread afterwards. An exception thrown by
// the hook propagates through the card library to its caller.
CARDSIM_API void SetHook(std::function<void(const Call&)> hook);

// Returns the handles that were created and not yet destroyed, such as "card#1", in order of
// creation. Omits iterated cards and volumes, because callers do not destroy them.
CARDSIM_API std::vector<std::string> OpenHandles();

// Returns the misuse of the card library since `Reset`, one line each, at most 1000 lines:
//
//   a handle that is null, unknown, of the wrong kind, destroyed, or from before `vsl_fini`
//   a null pointer to a handle variable; a volume of another card's handle
//   a handle destroyed twice or while its card is open; a volume passed to `vsl_destroy`
//   a card opened twice, or closed while it is not open
//   a read of an absent attribute, or of one that needs an open card while the card is not open
//   a call before `vsl_init` or after `vsl_fini`
//   a call without an error record, which still runs; only `vsl_destroy` may omit the record
//
// A `vsl_has_` function with a null handle and `vsl_destroy` of a null handle are not misuse.
// `vsl_destroy` leaves the caller's variable unchanged, so that later use of that handle is
// detected.
CARDSIM_API std::vector<std::string> Misuse();

}  // namespace CardSim
