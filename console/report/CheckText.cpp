#include "console/report/CheckText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <iterator>
#include <map>

#include "base/Printable.h"
#include "console/model/FieldTable.h"
#include "console/render/HealthCells.h"

namespace Console {
namespace {

constexpr std::size_t kWorst = 3;

// How much the first line says about an object: sentences, the measured values, or only the names
// of the reasons.
enum class Detail { Sentences, Figures, Names };

// The detail for each of the worst objects, from the longest line to the shortest.
constexpr Detail kDetails[][kWorst] = {
    {Detail::Sentences, Detail::Sentences, Detail::Sentences},
    {Detail::Figures, Detail::Figures, Detail::Figures},
    {Detail::Figures, Detail::Figures, Detail::Names},
    {Detail::Figures, Detail::Names, Detail::Names},
};

constexpr CheckState kWorstFirst[] = {CheckState::Critical, CheckState::Warning,
                                      CheckState::Unknown, CheckState::Ok};

struct PerformanceDataRow {
  const char* m_Name;
  PerformanceData m_Data;
};

constexpr PerformanceDataRow kPerformanceData[] = {
    {"", PerformanceData::All},
    {"all", PerformanceData::All},
    {"worst", PerformanceData::Worst},
    {"none", PerformanceData::None},
};

// Replaces vertical bars, because a vertical bar starts the performance data.
std::string WithoutBars(const std::string& text) {
  return boost::replace_all_copy(text, "|", "/");
}

bool StartsCharacter(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
}

std::size_t Length(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), StartsCharacter));
}

// Cuts a text to `length` characters.
std::string Cut(const std::string& text, std::size_t length, bool ascii) {
  if (Length(text) <= length) return text;
  const std::string mark = ascii ? "..." : "…";
  const std::size_t kept = length - std::min(length, Length(mark));
  std::size_t end = 0, count = 0;
  while (end < text.size() && (count < kept || !StartsCharacter(text[end]))) {
    if (StartsCharacter(text[end])) ++count;
    ++end;
  }
  return text.substr(0, end) + mark;
}

std::string FirstLine(CheckState state, const std::string& summary) {
  return fmt::format("CORVANE {} - {}", CheckStateName(state), summary);
}

std::string CountText(std::size_t count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

// The state of each card includes its drives. If no card is checked, counts the drives.
std::vector<CheckState> StatesToCount(const CheckResult& check, const char*& noun) {
  std::map<std::string, CheckState> cards;
  std::vector<CheckState> drives;
  for (const Finding& finding : check.m_Findings) {
    const Object& object = *finding.m_pObject;
    if (object.m_Kind == Kind::Adapter) cards[object.m_Selector] = finding.m_State;
    if (object.m_Kind == Kind::Drive) drives.push_back(finding.m_State);
  }
  for (const Finding& finding : check.m_Findings) {
    const std::string& selector = finding.m_pObject->m_Selector;
    const auto card = cards.find(selector.substr(0, selector.find('/')));
    if (card != cards.end()) card->second = std::max(card->second, finding.m_State);
  }
  const bool onlyDrives = drives.size() == check.m_Findings.size();
  noun = onlyDrives ? "drive" : "card";
  if (onlyDrives) return drives;
  std::vector<CheckState> states;
  for (const auto& [name, state] : cards) states.push_back(state);
  return states;
}

std::string Counts(const CheckResult& check) {
  const char* noun = "";
  const std::vector<CheckState> states = StatesToCount(check, noun);
  std::vector<std::string> counts;
  for (const CheckState state : kWorstFirst) {
    const auto count = std::count(states.begin(), states.end(), state);
    if (count > 0) counts.push_back(fmt::format("{} {}", count, CheckStateName(state)));
  }
  return fmt::format("{}: {}", CountText(states.size(), noun), fmt::join(counts, ", "));
}

// A better status would contradict a threshold that was exceeded.
std::string StateText(const Finding& finding) {
  const bool contradicts = StateOf(finding.m_Health.m_Status) < finding.m_State;
  return contradicts ? CheckStateName(finding.m_State) : StatusText(finding.m_Health.m_Status);
}

// A reason that is the status itself is not repeated.
std::string ProblemText(const Finding& finding, const Problem& problem, Detail detail) {
  const bool isStatus = problem.m_Name == BareText(finding.m_Health.m_Status);
  if (isStatus && detail != Detail::Sentences) return problem.m_Figures;
  if (isStatus && boost::iequals(problem.m_Text, problem.m_Name)) return {};
  if (detail == Detail::Sentences || problem.m_IsThreshold || problem.m_Name.empty()) {
    return problem.m_Text;
  }
  const bool hasFigures = detail == Detail::Figures && !problem.m_Figures.empty();
  return hasFigures ? problem.m_Figures : problem.m_Name;
}

// Describes an object that is not OK by its unacknowledged problems.
std::string FindingText(const Finding& finding, Detail detail) {
  std::vector<std::string> texts;
  for (const Problem& problem : finding.m_Problems) {
    const std::string text = ProblemText(finding, problem, detail);
    const bool isNew = std::find(texts.begin(), texts.end(), text) == texts.end();
    if (!problem.m_Acknowledgment && !text.empty() && isNew) texts.push_back(text);
  }
  return fmt::format("{} {}{}{}", finding.m_pObject->m_Selector, StateText(finding),
                     texts.empty() ? "" : ": ", fmt::join(texts, ", "));
}

// Returns the worst objects, without drives whose cards are as bad: the card explains them.
std::vector<const Finding*> WorstFindings(const CheckResult& check) {
  std::map<std::string, CheckState> cards;
  for (const Finding& finding : check.m_Findings) {
    if (finding.m_pObject->m_Kind == Kind::Adapter) {
      cards[finding.m_pObject->m_Selector] = finding.m_State;
    }
  }
  std::vector<const Finding*> worst;
  for (const Finding& finding : check.m_Findings) {
    const std::string& selector = finding.m_pObject->m_Selector;
    const bool isDrive = finding.m_pObject->m_Kind == Kind::Drive;
    const auto card = isDrive ? cards.find(selector.substr(0, selector.find('/'))) : cards.end();
    const bool isExplained = card != cards.end() && card->second >= finding.m_State;
    if (finding.m_State != CheckState::Ok && !isExplained) worst.push_back(&finding);
  }
  std::stable_sort(worst.begin(), worst.end(),
                   [](const Finding* a, const Finding* b) { return a->m_State > b->m_State; });
  return worst;
}

std::vector<std::string> WorstTexts(const CheckResult& check, const Detail (&details)[kWorst]) {
  std::vector<std::string> texts;
  if (!check.m_Unknown.empty()) texts.push_back(check.m_Unknown);
  if (check.m_ExpectationState != CheckState::Ok) {
    texts.push_back(fmt::format("expected {}, found {}", CountText(*check.m_ExpectedCards, "card"),
                                check.m_Cards));
  }
  for (const Finding* finding : WorstFindings(check)) {
    if (texts.size() < kWorst) texts.push_back(FindingText(*finding, details[texts.size()]));
  }
  if (!check.m_NotFound.empty()) {
    texts.push_back(fmt::format("{}", fmt::join(check.m_NotFound, ", ")));
  }
  return texts;
}

std::string AcknowledgedText(const CheckResult& check) {
  std::vector<std::string> names;
  for (const Finding& finding : check.m_Findings) {
    for (const Problem& problem : finding.m_Problems) {
      if (!problem.m_Acknowledgment) continue;
      names.push_back(fmt::format("{} {}", finding.m_pObject->m_Selector, problem.m_Name));
    }
  }
  return names.empty() ? "" : fmt::format("acknowledged: {}", fmt::join(names, ", "));
}

// Shortens the texts to `length` characters in total; a short text leaves more to the others.
void ShortenAll(std::vector<std::string>& texts, std::size_t length, bool ascii) {
  std::vector<std::string*> bySize;
  for (std::string& text : texts) bySize.push_back(&text);
  std::stable_sort(bySize.begin(), bySize.end(), [](const std::string* a, const std::string* b) {
    return Length(*a) < Length(*b);
  });
  for (std::size_t i = 0; i < bySize.size(); ++i) {
    *bySize[i] = Cut(*bySize[i], length / (bySize.size() - i), ascii);
    length -= std::min(length, Length(*bySize[i]));
  }
}

std::string Joined(const std::string& counts, const std::vector<std::string>& texts) {
  return texts.empty() ? counts : fmt::format("{}; {}", counts, fmt::join(texts, "; "));
}

std::string ReasonLines(const Finding& finding, const CheckInput& input) {
  std::string text;
  for (const Problem& problem : finding.m_Problems) {
    if (problem.m_Text.empty()) continue;
    text += fmt::format("  {}{}{}\n", problem.m_Text, problem.m_Advice.empty() ? "" : ". ",
                        problem.m_Advice);
    if (!problem.m_Acknowledgment) continue;
    text += fmt::format("  {}\n",
                        Base::Printable(input.m_Acknowledged[*problem.m_Acknowledgment].m_Text));
  }
  return text;
}

std::string Identity(const Object& object) {
  const std::string name = FieldText(object, "name");
  const std::string serial = FieldText(object, "serial_number");
  const bool hasBoth = !name.empty() && !serial.empty();
  return name + (hasBoth ? ", " : "") + (serial.empty() ? "" : "serial " + serial);
}

std::string PerformanceTexts(const CheckResult& check, PerformanceData data) {
  const std::vector<const Finding*> worst = WorstFindings(check);
  const auto end = worst.begin() + static_cast<std::ptrdiff_t>(std::min(worst.size(), kWorst));
  std::string text;
  for (const CheckReading& reading : check.m_Readings) {
    const bool isWorst = std::any_of(worst.begin(), end, [&](const Finding* finding) {
      return finding->m_pObject == reading.m_pObject;
    });
    if (data == PerformanceData::None || (data == PerformanceData::Worst && !isWorst)) continue;
    text += (text.empty() ? " | " : " ") + PerformanceText(reading);
  }
  return text;
}

}  // namespace

PerformanceData ParsePerformanceData(const std::string& name) {
  for (const PerformanceDataRow& row : kPerformanceData) {
    if (name == row.m_Name) return row.m_Data;
  }
  throw UsageFailure(fmt::format("--perfdata: invalid value '{}'", name),
                     {"Valid: all, worst, none"});
}

std::string Summary(const CheckResult& check, bool ascii) {
  const bool isEmpty = check.m_Findings.empty();
  const std::string counts = isEmpty ? "no supported adapter found in this machine" : Counts(check);
  const std::size_t limit = kMaxFirstLine - FirstLine(check.m_State, "").size();
  for (const auto& details : kDetails) {
    std::vector<std::string> texts = WorstTexts(check, details);
    const std::string acknowledged = AcknowledgedText(check);
    if (!acknowledged.empty()) texts.push_back(acknowledged);
    if (Length(Joined(counts, texts)) > limit && &details != std::end(kDetails) - 1) continue;
    constexpr std::size_t kSeparator = 2;
    const std::size_t fixed = Length(counts) + kSeparator * texts.size();
    ShortenAll(texts, limit - std::min(limit, fixed), ascii);
    return WithoutBars(Joined(counts, texts));
  }
  return counts;
}

std::string CheckText(const CheckResult& check, const CheckInput& input, PerformanceData data) {
  std::string text = FirstLine(check.m_State, Summary(check, input.m_Ascii)) +
                     PerformanceTexts(check, data) + "\n";
  for (const Finding& finding : check.m_Findings) {
    text +=
        WithoutBars(fmt::format("{} {}: {}\n{}", finding.m_pObject->m_Selector, StateText(finding),
                                Identity(*finding.m_pObject), ReasonLines(finding, input)));
  }
  for (const std::string& name : check.m_NotFound) text += WithoutBars(name) + "\n";
  return text;
}

std::string CheckText(const Failure& failure) {
  const std::size_t limit = kMaxFirstLine - FirstLine(CheckState::Unknown, "").size();
  std::string text = FirstLine(CheckState::Unknown,
                               Cut(WithoutBars(Base::Printable(failure.m_Text)), limit, true)) +
                     "\n";
  for (const std::string& line : failure.m_Advice)
    text += WithoutBars(Base::Printable(line)) + "\n";
  return text;
}

}  // namespace Console
