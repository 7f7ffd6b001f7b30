#include "console/cli/CompletionCandidates.h"

#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <cctype>
#include <optional>

#include "console/base/Failure.h"
#include "console/change/KnownOperations.h"
#include "console/cli/CommandLine.h"
#include "console/cli/CompletionScripts.h"
#include "console/cli/HelpTopics.h"
#include "console/cli/OptionTable.h"
#include "console/model/AcknowledgeableReasons.h"
#include "console/model/Condition.h"
#include "console/model/NameIndex.h"
#include "console/model/PropertyName.h"
#include "console/model/Selectors.h"
#include "console/plugin/RowTables.h"
#include "console/render/ObjectTable.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using Candidates = std::vector<Candidate>;
using Words = std::vector<std::string>;

// The unfinished command line, parsed as far as possible.
struct Line {
  Words m_Before;                       // all words before the last
  std::string m_Last;                   // the word to complete
  std::string m_OptionPrefix;           // the part of m_Last before the value, such as "--output="
  const OptionRow* m_Option = nullptr;  // the option whose value is being completed, or null
  std::string m_CommandName;            // as typed
  const Command* m_Command = nullptr;   // null if m_CommandName is empty or unknown
  Words m_Arguments;                    // the complete words after the command
  bool m_OnlyArguments = false;         // whether "--" was typed
  const CommandTable& m_Table;
  const ObjectSource& m_Source;

  Model Objects() const;
};

// Returns the last of the short options in a word such as "-Ho". Returns null if one is unknown, or
// if the word contains the value of one.
const OptionRow* LastOfCluster(const std::string& word) {
  const OptionRow* row = nullptr;
  for (std::size_t i = 1; i < word.size(); ++i) {
    row = FindOption({'-', word[i]});
    if (row == nullptr || (RequiresValue(*row) && i + 1 < word.size())) return nullptr;
  }
  return row;
}

const OptionRow* OptionAwaitingValue(const std::string& word) {
  const bool isLong = boost::starts_with(word, "--");
  const OptionRow* row = isLong ? FindOption(word) : LastOfCluster(word);
  return row != nullptr && RequiresValue(*row) ? row : nullptr;
}

void ConsumeWord(Line& line, const std::string& word) {
  if (line.m_Option != nullptr) {
    line.m_Option = nullptr;
  } else if (word == "--" && !line.m_OnlyArguments) {
    line.m_OnlyArguments = true;
  } else if (word.size() > 1 && word[0] == '-' && !line.m_OnlyArguments) {
    line.m_Option = OptionAwaitingValue(word);
  } else if (line.m_CommandName.empty()) {
    line.m_CommandName = word;
    line.m_Command = line.m_Table.Find(word);
  } else {
    line.m_Arguments.push_back(word);
  }
}

// Splits a word such as "--output=js" into the option and the start of its value.
void SplitOptionValue(Line& line) {
  const std::size_t equals = line.m_Last.find('=');
  if (line.m_OnlyArguments || line.m_Option != nullptr || equals == std::string::npos) return;
  const OptionRow* row = FindOption(line.m_Last.substr(0, equals));
  if (row == nullptr || *row->m_Value == '\0') return;
  line.m_Option = row;
  line.m_OptionPrefix = line.m_Last.substr(0, equals + 1);
}

Line ParseLine(const Words& words, const CommandTable& commands, const ObjectSource& source) {
  Line line{{}, "", "", nullptr, "", nullptr, {}, false, commands, source};
  if (words.empty()) return line;
  line.m_Last = words.back();
  line.m_Before.assign(words.begin(), words.end() - 1);
  for (const std::string& word : line.m_Before) ConsumeWord(line, word);
  SplitOptionValue(line);
  return line;
}

// Applies the options before the last word, such as --simulate or --plugin. Completion must not
// write to the database or the trace.
Model Line::Objects() const {
  Options options;
  Words words = m_Before;
  if (m_Option != nullptr && m_OptionPrefix.empty()) words.pop_back();
  try {
    ParseCommandLine(words, options);
  } catch (const Failure&) {
    // An unknown option is reported after all options have been stored. After other errors, some
    // options keep their defaults.
  }
  options.m_Database = ":memory:";
  options.m_Trace.reset();
  options.m_TraceFile.clear();
  return m_Source(options);
}

std::string FieldDescription(const Field& field) {
  return HostKit::CaptionOf(HostKit::Family::Property, field.m_PropertyID);
}

std::string ObjectDescription(const Object& object) {
  const Field* name = FindField(object.m_Kind, "name");
  return name == nullptr ? std::string() : BareText(ReadField(object, *name));
}

template <class Predicate>
Candidates ObjectsWhere(const Line& line, Predicate matches) {
  Candidates all;
  const Model model = line.Objects();
  for (const Object& object : model.Objects()) {
    if (!matches(object)) continue;
    const std::string description = ObjectDescription(object);
    // Other names are offered only once the user has started to type one.
    for (const std::string& name : NamesOf(object)) {
      if (name == object.m_Selector || !line.m_Last.empty()) all.push_back({name, description});
    }
  }
  return all;
}

// Whether the first argument of the command may be repeated.
bool RepeatsFirst(const Command& command) {
  const std::string arguments = command.m_Arguments;
  const std::string first = arguments.substr(0, arguments.find(' '));
  return first.find("...") != std::string::npos;
}

Candidates WithAll(const Line& line, Candidates objects) {
  if (RepeatsFirst(*line.m_Command) && !line.m_Last.empty())
    objects.push_back({kAllObjects, "all cards"});
  return objects;
}

Candidates AnyObject(const Line& line) {
  return WithAll(line, ObjectsWhere(line, [](const Object&) { return true; }));
}

// Once the user has started to type, also the names of cards, which mean their only drives.
Candidates Drives(const Line& line) {
  return WithAll(line, ObjectsWhere(line, [&](const Object& object) {
                   const bool isCard = object.m_Kind == Kind::Adapter && !line.m_Last.empty();
                   return object.m_Kind == Kind::Drive || isCard;
                 }));
}

// Returns empty if the argument is missing or does not name exactly one object, or if the objects
// cannot be read.
std::optional<Object> ObjectOf(const Line& line, std::size_t argument) {
  if (line.m_Arguments.size() <= argument) return std::nullopt;
  try {
    return Select(line.Objects(), line.m_Arguments[argument]);
  } catch (const Failure&) {
    return std::nullopt;
  }
}

Candidates Fields(const Line& line, const char* suffix) {
  Candidates all;
  const std::optional<Object> object = ObjectOf(line, 0);
  if (!object) return all;
  for (const Field& field : FieldsOf(object->m_Kind)) {
    all.push_back({std::string(field.m_Name) + suffix, FieldDescription(field)});
  }
  return all;
}

Candidates Choices(const Words& words) {
  Candidates all;
  for (const std::string& word : words) all.push_back({word, ""});
  return all;
}

Candidates Properties(const Line& line) {
  const Words& accepted = line.m_Command->m_Properties;
  return accepted.empty() ? Fields(line, "") : Choices(accepted);
}

Candidates SettableProperties(const Line& line) {
  Candidates all;
  const std::optional<Object> object = ObjectOf(line, 0);
  if (!object) return all;
  for (const PI::CProperty& property : object->m_Properties) {
    if (!property.m_Writable) continue;
    all.push_back({DisplayName(property.m_PropertyID) + "=",
                   HostKit::CaptionOf(HostKit::Family::Property, property.m_PropertyID)});
  }
  return all;
}

// Offers properties only if no state word matches, because properties require reading the object.
Candidates Conditions(const Line& line) {
  Candidates all;
  for (const std::string& word : ConditionWords()) {
    if (boost::istarts_with(word, line.m_Last)) all.push_back({word, ""});
  }
  return all.empty() ? Fields(line, "=") : all;
}

Candidates Commands(const Line& line) {
  Candidates all;
  for (const Command& command : line.m_Table) {
    if (command.m_Group != Group::Hidden) all.push_back({command.m_Name, command.m_Summary});
  }
  return all;
}

bool HasOperation(const Object& object, std::uint32_t number) {
  const OperationRow* row = FindOperation(number);
  return (row != nullptr && row->m_Kind == object.m_Kind) || object.SupportsOperation(number);
}

// Returns the operations that the plug-in lists or this host knows. `op list` accepts no operation.
Candidates ObjectOperations(const Line& line) {
  Candidates all;
  if (line.m_Arguments.front() == "list") return all;
  const std::optional<Object> object = ObjectOf(line, 1);
  if (!object) return all;
  for (const Entry& entry : AllEntries()) {
    if (entry.m_Family != HostKit::Family::Operation) continue;
    if (!HasOperation(*object, entry.m_Number)) continue;
    all.push_back({NameOf(entry), HostKit::CaptionOf(entry.m_Family, entry.m_Number)});
  }
  return all;
}

Candidates OperationArguments(const Line& line) {
  const bool isFormat =
      line.m_Arguments.front() == "run" && boost::iends_with(line.m_Arguments[2], "FORMAT_DEVICE");
  if (!isFormat) return {};
  return {{"FORMATTING=", "capacity"}, {"SIZE=", "percent"}, {"BLOCK_SIZE=", "bytes"}};
}

Candidates Identifiers(const Line&) {
  return Choices(AllNames());
}

Candidates Reasons(const Line&) {
  return Choices(AcknowledgeableReasons());
}

Candidates Tables(const Line&) {
  return Choices(RowTableNames());
}

Candidates Shells(const Line&) {
  Candidates all;
  for (const Script& script : CompletionScripts()) all.push_back({script.m_Shell, ""});
  return all;
}

struct ArgumentRow {
  const char* m_Word;
  Candidates (*m_Complete)(const Line&);
};

// Completion functions for the placeholders in the command table, such as OBJ. Choices such as a|b
// need no row.
// clang-format off
constexpr ArgumentRow kArguments[] = {
    {"OBJ", AnyObject},
    {"DRIVE", Drives},
    {"PROP", Properties},
    {"PROP=VALUE", SettableProperties},
    {"COND", Conditions},
    {"REASON", Reasons},
    {"OP", ObjectOperations},
    {"ARG=VALUE", OperationArguments},
    {"ID", Identifiers},
    {"SHELL", Shells},
    {"TABLE", Tables},
    {"COMMAND", Commands},
};
// clang-format on

// Returns the candidates for a placeholder in the command table.
Candidates CandidatesFor(const Line& line, const std::string& word) {
  for (const ArgumentRow& row : kArguments) {
    if (word == row.m_Word) return row.m_Complete(line);
  }
  Words choices;
  boost::split(choices, word, [](char character) { return character == '|'; });
  return choices.size() > 1 ? Choices(choices) : Candidates();
}

Candidates ArgumentCandidates(const Line& line) {
  if (line.m_CommandName.empty()) return Commands(line);
  if (line.m_Command == nullptr) return {};
  const Words words = ArgumentWords(line.m_Command->m_Arguments);
  if (words.empty() || line.m_Arguments.size() >= line.m_Command->m_MaxArguments) return {};
  Candidates all = CandidatesFor(line, words[std::min(line.m_Arguments.size(), words.size() - 1)]);
  // The next argument may also be another object, once the user has started to type it.
  const bool mayBeObject =
      RepeatsFirst(*line.m_Command) && !line.m_Arguments.empty() && !line.m_Last.empty();
  if (!mayBeObject || words.size() == 1) return all;
  for (Candidate& object : CandidatesFor(line, words.front())) all.push_back(std::move(object));
  return all;
}

Candidates OptionCandidates(const Line& line) {
  Candidates all;
  for (const OptionRow& row : AllOptions()) {
    const bool applies = line.m_Command == nullptr ? row.m_Common : HasOption(*line.m_Command, row);
    if (!applies) continue;
    all.push_back({row.m_Long, row.m_Help});
    if (*row.m_Short != '\0') all.push_back({row.m_Short, row.m_Help});
  }
  return all;
}

// Returns all column names, each preceded by the names already typed before the last comma.
Candidates Columns(const std::string& typed) {
  const std::string before = typed.substr(0, typed.rfind(',') + 1);
  Candidates all;
  for (const std::string& name : ObjectColumnNames()) all.push_back({before + name, ""});
  return all;
}

Candidates ValueCandidates(const Line& line, const std::string& typed) {
  const OptionRow& row = *line.m_Option;
  const std::string kind = row.m_Value;
  if (kind == "FILE" || kind == "[FILE]" || kind == "PATH") return {{kFilesWord, ""}};
  if (kind == "NAMES") return Columns(typed);
  if (kind == "FORMAT" && line.m_Command != nullptr)
    return Choices(line.m_Command->m_OutputFormats);
  return Choices(row.m_Choices);
}

Candidates OptionValueCandidates(const Line& line) {
  Candidates all = ValueCandidates(line, line.m_Last.substr(line.m_OptionPrefix.size()));
  for (Candidate& candidate : all) {
    if (candidate.m_Word != kFilesWord) candidate.m_Word.insert(0, line.m_OptionPrefix);
  }
  return all;
}

Candidates AllCandidates(const Line& line) {
  if (line.m_Option != nullptr) return OptionValueCandidates(line);
  if (!line.m_OnlyArguments && boost::starts_with(line.m_Last, "-")) return OptionCandidates(line);
  return ArgumentCandidates(line);
}

}  // namespace

Candidates Complete(const Words& words, const CommandTable& commands, const ObjectSource& objects) {
  const Line line = ParseLine(words, commands, objects);
  Candidates matching;
  for (const Candidate& candidate : AllCandidates(line)) {
    const bool matches =
        candidate.m_Word == kFilesWord || boost::istarts_with(candidate.m_Word, line.m_Last);
    if (matches) matching.push_back(candidate);
  }
  return matching;
}

}  // namespace Console
