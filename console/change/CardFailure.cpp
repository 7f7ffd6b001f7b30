#include "console/change/CardFailure.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <iterator>

#include "base/Printable.h"
#include "console/model/FieldTable.h"
#include "console/model/StaleValues.h"

namespace Console {
namespace {

struct CauseRow {
  CardCause m_Cause;
  ExitCode m_Code;
  const char* m_Id;  // null: that of the command
  const char* m_Why;
  const char* m_Advice;
};

// clang-format off
constexpr CauseRow kCauses[] = {
    // cause                 exit code             id                   why
    {CardCause::Permission,   ExitCode::Permission, "PERMISSION_DENIED", "permission denied",
     "Run the command as root, or as a user with access to the card's control device."},
    {CardCause::TimedOut,     ExitCode::TimedOut,   "CARD_TIMED_OUT",    "the card is not responding",
     "The card may still be working; check the kernel log."},
    {CardCause::InUse,        ExitCode::Failed,     nullptr,             "the card is in use",
     "Stop the programs that use the card's drive, then try again."},
    {CardCause::NotFound,     ExitCode::NoObject,   "CARD_NOT_FOUND",    "the card has been removed",
     "List the cards that are present: corvane-host list"},
    {CardCause::WrongState,   ExitCode::Failed,     "CARD_WRONG_STATE",  "not possible in the card's current state",
     "Check its state: corvane-host status"},
    {CardCause::BadValue,     ExitCode::Refused,    "CARD_BAD_VALUE",    "the card does not accept this value",
     "Pass a value within the card's limits. Nothing was changed."},
    {CardCause::NotSupported, ExitCode::Failed,     "CARD_NOT_SUPPORTED", "the card does not support this",
     "Nothing was changed."},
    {CardCause::NoMemory,     ExitCode::Failed,     "CARD_NO_MEMORY",    "not enough memory",
     "Free memory on this machine, then try again."},
    {CardCause::Unknown,      ExitCode::Failed,     nullptr,             "the card rejected the command",
     "Run the command again with --trace 2,16 to see the card library's message."},
};

struct TextRow {
  const char* m_Part;
  CardCause m_Cause;
};

// The library's reason is free text; the first part that it contains decides.
constexpr TextRow kTexts[] = {
    {"permission",       CardCause::Permission},
    {"not permitted",    CardCause::Permission},
    {"access denied",    CardCause::Permission},
    {"privilege",        CardCause::Permission},
    {"not responding",   CardCause::TimedOut},
    {"timed out",        CardCause::TimedOut},
    {"timeout",          CardCause::TimedOut},
    {"in use",           CardCause::InUse},
    {"busy",             CardCause::InUse},
    {"removed",          CardCause::NotFound},
    {"no such",          CardCause::NotFound},
    {"not found",        CardCause::NotFound},
    {"not possible in",  CardCause::WrongState},
    {"must be",          CardCause::BadValue},
    {"out of range",     CardCause::BadValue},
    {"invalid",          CardCause::BadValue},
    {"not support",      CardCause::NotSupported},
    {"unsupported",      CardCause::NotSupported},
    {"memory",           CardCause::NoMemory},
};

struct CodeRow {
  std::uint64_t m_Code;
  CardCause m_Cause;
};

// Codes whose meaning is known even without a reason: those of the library of simulated cards, and
// the one for a card that does not respond.
constexpr CodeRow kCodes[] = {
    {3,      CardCause::NotFound},
    {6,      CardCause::WrongState},
    {7,      CardCause::BadValue},
    {8,      CardCause::InUse},
    {9,      CardCause::NotSupported},
    {11,     CardCause::NoMemory},
    {12,     CardCause::Permission},
    {13,     CardCause::TimedOut},
    {0xffff, CardCause::TimedOut},
};
// clang-format on

const CauseRow& RowOf(CardCause cause) {
  return *std::find_if(std::begin(kCauses), std::end(kCauses),
                       [&](const CauseRow& row) { return row.m_Cause == cause; });
}

std::string Reason(const CardError& error) {
  const std::string text = Base::Printable(error.m_Text);
  return fmt::format("{}, code {}{}{}", error.m_Function, error.m_Code, text.empty() ? "" : ": ",
                     text);
}

}  // namespace

CardCause CauseOf(const CardError& error) {
  for (const TextRow& row : kTexts) {
    if (boost::icontains(error.m_Text, row.m_Part)) return row.m_Cause;
  }
  for (const CodeRow& row : kCodes) {
    if (row.m_Code == error.m_Code) return row.m_Cause;
  }
  return CardCause::Unknown;
}

Failure CardFailure(const std::string& id, const std::string& what, const CardError& error,
                    const std::vector<std::string>& advice) {
  const CauseRow& row = RowOf(CauseOf(error));
  std::vector<std::string> all = {row.m_Advice};
  all.insert(all.end(), advice.begin(), advice.end());
  return Failure(row.m_Code, row.m_Id == nullptr ? id : row.m_Id, what,
                 fmt::format("{} ({})", row.m_Why, Reason(error)), all);
}

Failure UnreadableFailure(const std::string& what, const Object& card) {
  const CardError error{"", 0, FieldText(card, "unreadable_reason")};
  return Failure(
      RowOf(CauseOf(error)).m_Code, "CARD_UNREADABLE", what, UnreadableText(card),
      {fmt::format("See: corvane-host status {}", card.m_Selector), "Nothing was changed."});
}

}  // namespace Console
