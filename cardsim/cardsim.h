// What a test in the same process may do with the simulated cards.
//
// The cards themselves live in the state file named by CARDSIM_STATE; `StateFile` edits it, as the
// `cardsim` program does. The rest of this header watches and bends the calls of this process.
//
// A text that a call gives out lives until the next call on the same handle, or the end of the
// library, and no longer: its bytes are then overwritten with '~'. Under the address sanitizer they
// are freed. A failed call gives out an empty text that lives forever.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#define CARDSIM_API __attribute__((visibility("default")))

namespace CardSim {

// No card, attribute, status bit, device kind or function of that name.
class CARDSIM_API NoSuchThing : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The name of a value of `iom_state`, such as "attached" for 2. A value that no state has is
// "failed", as a host treats it. Static text; may be called by any thread.
CARDSIM_API const char* CardStateName(std::uint64_t state);

// A file of simulated cards. Each edit is one change under the file's lock; other processes and
// the open library see it when they next name or open a card, and a status mask at its next read.
// Throws `std::runtime_error` with a one-line text when the file is missing or damaged or a value
// does not fit, `NoSuchThing` for an unknown name, `std::bad_alloc` without memory; the file is
// then as it was.
class CARDSIM_API StateFile {
 public:
  // CARDSIM_STATE, else $XDG_STATE_HOME/corvane/cards.json, else ~/.local/state/corvane/cards.json.
  static std::filesystem::path DefaultPath();

  explicit StateFile(std::filesystem::path path);

  // Makes a file without cards. An existing file is replaced only if `overwrite`.
  void Create(bool overwrite = false);

  // Adds a believable card of that PCI device id, one of the accepted nine or any other, and gives
  // its name: card0, card1, ...
  std::string AddCard(std::uint16_t deviceId);
  // The same for a kind of card by its name, such as "flash-1300g", or by its device id as text,
  // always hexadecimal: "0x1003" or "1003".
  std::string AddCard(const std::string& kind);
  // Adds so many at once, or none.
  std::vector<std::string> AddCards(const std::string& kind, unsigned int count);
  static std::vector<std::string> Profiles();
  void RemoveCard(const std::string& card);
  std::vector<std::string> Cards() const;

  // Attributes are named as in the card library, without their prefix: "serial_number",
  // "temp_internal_deg_c", "iom_format_size_pct", "current_warnings". Values are JSON text; a text
  // that is no JSON is taken as a string, and so is any other JSON given to a string attribute.
  // Whole numbers may also be hexadecimal, 0x1003. Beside the attributes of the card library:
  //
  //   pci_device_id, reserve_status     what the library gives without a `vsl_has_`
  //   iom_format_size_mode              true when a format has size modes
  //   overformat_size_bytes             the largest size in size mode 11
  //   attach_ms, detach_ms, format_ms   how long the jobs take
  //   in_use                            true makes a plain detach fail, a forced one not
  //   volumes                           [{"state": 1, "settable": true, "refuses": false}, ...]
  void Set(const std::string& card, const std::string& attribute, const std::string& value);
  // The value as JSON text, or the word absent.
  std::string Get(const std::string& card, const std::string& attribute) const;
  // Makes `vsl_has_` say no.
  void MakeAbsent(const std::string& card, const std::string& attribute);

  // Sets or clears one bit of a status mask by its name, such as "TEMPERATURE_ABOVE_WARN", or
  // behind the name of its mask: "errors.FLASHBACK", "info.POWER_WRITE_REGULATION",
  // "minimal.FORCED". POWER_WRITE_REGULATION alone means the warning.
  void Raise(const std::string& card, const std::string& bit);
  void Clear(const std::string& card, const std::string& bit);

  // Makes every call of `function` fail with `code` and `text` in every process, until `Heal`.
  void Fail(const std::string& function, std::uint64_t code, const std::string& text);
  void Heal(const std::string& function);

  // Writes a sysfs tree with a PCI device for each card below `folder`, replacing an earlier one of
  // its own, and nothing that it did not write.
  void WriteSysfs(const std::filesystem::path& folder) const;

 private:
  std::filesystem::path m_Path;
};

// One call into the library.
struct CARDSIM_API Call {
  std::string function;      // "vsl_open"
  std::string handle;        // kind and number of the first handle: "card#1", "null", or empty
  std::string argument;      // what else matters: a path, a state, a size; or empty
  std::string text() const;  // "vsl_set_beacon_state card#1 0"
};

// Forgets log, failures, hook and ledger, and numbers handles from 1 again. The first `Reset` of a
// process begins the log: a host that watches nothing pays nothing.
CARDSIM_API void Reset();

// The calls since `Reset`, in order of their begin.
CARDSIM_API std::vector<Call> CallLog();
CARDSIM_API std::vector<std::string> CallTexts();

// Makes the `nth` call of `function` from now, counted from 1, and the `times` - 1 ones after it
// fail with `code` and `text`. A `vsl_has_` or iterate function that fails gives false, any other
// read 0 or an empty text. Throws `NoSuchThing` for a function that the library does not have.
CARDSIM_API void FailCall(const std::string& function, unsigned int nth, std::uint64_t code,
                          const std::string& text, unsigned int times = 1);

// Called before every call, outside the simulator's own lock, so that it may wait or edit the file.
CARDSIM_API void SetHook(std::function<void(const Call&)> hook);

// Handles that were made and not yet destroyed, by kind and number, in order of making. Walked
// cards and volumes, which nobody destroys, are not among them.
CARDSIM_API std::vector<std::string> OpenHandles();

// Misuse seen since `Reset`, a line each: double destroy, use after destroy, an attribute read that
// needs an open card on one that is not, a read of an absent attribute, a call after `vsl_fini`, a
// handle of the wrong kind or none at all, an open or close too many, a destroy of an open card, a
// call without an error record (it is carried out; `vsl_destroy` alone may lack one). A
// `vsl_has_` of a null handle and a destroy of a null variable are none. `vsl_destroy` leaves the
// caller's variable as it is, so that a later use through it is seen. At most 1000 lines are kept.
CARDSIM_API std::vector<std::string> Misuse();

}  // namespace CardSim
