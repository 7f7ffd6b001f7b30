#include "console/cli/CommandLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <langinfo.h>
#include <stdlib.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <cstring>
#include <memory>

#include "base/NearestName.h"
#include "console/base/Failure.h"
#include "console/cli/FamiliarNames.h"
#include "console/cli/OptionTable.h"

namespace Console {
namespace {

constexpr const char* kOutputOption = "--output";

// Returns the names in the parser's format, "-o,--output".
std::string ParserNames(const OptionRow& row) {
  return *row.m_Short == '\0' ? row.m_Long : fmt::format("{},{}", row.m_Short, row.m_Long);
}

void AddOption(CLI::App& app, const OptionRow& row) {
  if (!RequiresValue(row)) {
    app.add_flag(ParserNames(row));
    return;
  }
  CLI::Option* option = app.add_option(ParserNames(row));
  if (!std::holds_alternative<std::vector<std::string> Options::*>(row.m_Field)) return;
  option->delimiter(',')->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

std::unique_ptr<CLI::App> CreateParser(Options& options) {
  auto app = std::make_unique<CLI::App>("", "corvane-host");
  app->set_help_flag();
  app->allow_extras();
  app->add_option("words", options.m_Words)->group("");
  // The last value wins, so that users can override the options of an alias or a script.
  app->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  for (const OptionRow& row : AllOptions()) AddOption(*app, row);
  return app;
}

// The parser returns "true" for an option that was given without its optional value.
std::string ValueText(const OptionRow& row, const CLI::Option& given) {
  const auto text = given.as<std::string>();
  return !RequiresValue(row) && text == "true" ? std::string() : text;
}

void Store(const OptionRow& row, const CLI::Option& given, Options& options) {
  struct {
    const OptionRow& m_Row;
    const CLI::Option& m_Given;
    Options& m_Options;
    void operator()(bool Options::*field) { m_Options.*field = m_Given.as<bool>(); }
    void operator()(std::string Options::*field) { m_Options.*field = ValueText(m_Row, m_Given); }
    void operator()(std::optional<std::string> Options::*field) {
      m_Options.*field = ValueText(m_Row, m_Given);
    }
    void operator()(std::vector<std::string> Options::*field) {
      m_Options.*field = m_Given.as<std::vector<std::string>>();
    }
  } store{row, given, options};
  std::visit(store, row.m_Field);
  options.m_Given.insert(row.m_Long);
}

// Finds the output format even if the arguments cannot be parsed.
std::string FindOutputFormat(const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    for (const std::string& format : FindOption(kOutputOption)->m_Choices) {
      const bool isSeparateWord = i > 0 && arguments[i] == format &&
                                  (arguments[i - 1] == "-o" || arguments[i - 1] == kOutputOption);
      if (isSeparateWord || arguments[i] == "-o" + format || arguments[i] == "--output=" + format)
        return format;
    }
  }
  return {};
}

// Finds the command even if the arguments cannot be parsed.
std::vector<std::string> FindCommand(const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i].empty() || arguments[i].front() != '-') return {arguments[i]};
    const OptionRow* option = FindOption(arguments[i]);
    if (option != nullptr && RequiresValue(*option)) ++i;
  }
  return {};
}

// Returns a specific message if the last argument is an option that lacks its value, and the
// parser's message for all other errors.
std::string ParseErrorText(const std::vector<std::string>& arguments, const CLI::ParseError& e) {
  const OptionRow* last = arguments.empty() ? nullptr : FindOption(arguments.back());
  if (last == nullptr || !RequiresValue(*last)) return e.what();
  return fmt::format("{} requires {}", arguments.back(), last->m_Value);
}

// Compares the names without their dashes, which would make short names similar.
std::vector<std::string> AdviceForUnknown(const std::string& command, const std::string& option) {
  const std::string dashes = "--";
  const char* const suggested = SuggestedOption(command, option);
  if (suggested != nullptr) return {fmt::format("Did you mean '{}'?", suggested)};
  std::vector<std::string> names;
  for (const OptionRow& row : AllOptions()) names.emplace_back(row.m_Long + dashes.size());
  constexpr std::size_t kMaxEdits = 1;
  const std::string* nearest =
      option.rfind(dashes, 0) == 0
          ? Base::NearestName(option.substr(dashes.size()), names, kMaxEdits)
          : nullptr;
  if (nearest == nullptr) return {};
  return {fmt::format("Did you mean '{}{}'?", dashes, *nearest)};
}

bool IsChoice(const OptionRow& row, const std::string& value) {
  return std::find(row.m_Choices.begin(), row.m_Choices.end(), value) != row.m_Choices.end();
}

Failure InvalidChoice(const OptionRow& row, const std::string& value) {
  std::vector<std::string> advice = DidYouMean(value, row.m_Choices);
  advice.push_back(fmt::format("Valid: {}", fmt::join(row.m_Choices, ", ")));
  const char* name = *row.m_Short == '\0' ? row.m_Long : row.m_Short;
  return UsageFailure(fmt::format("{}: invalid value '{}'", name, value), advice);
}

void CheckValues(const CLI::App& app, Options& options) {
  for (const std::string& extra : app.remaining()) {
    if (extra == "--") continue;  // the parser has handled "--" but keeps it in the list
    const std::string name = extra.substr(0, extra.find('='));
    const std::string command = options.m_Words.empty() ? "" : options.m_Words.front();
    throw UsageFailure(fmt::format("unknown option {}", name), AdviceForUnknown(command, name));
  }
  for (const OptionRow& row : AllOptions()) {
    const CLI::Option& given = *app.get_option(row.m_Long);
    // The parser takes the next word as the value, even if it is an option.
    if (RequiresValue(row) && given.count() > 0 && FindOption(given.results().back()) != nullptr) {
      throw UsageFailure(
          fmt::format("{} requires {}, not {}", row.m_Long, row.m_Value, given.results().back()));
    }
    if (!row.m_OnlyChoices || given.count() == 0) continue;
    const auto value = given.as<std::string>();
    if (IsChoice(row, value)) continue;
    // A failure must not be reported in an invalid format.
    if (std::strcmp(row.m_Long, kOutputOption) == 0) options.m_OutputFormat.clear();
    throw InvalidChoice(row, value);
  }
}

// --help shows help instead of running the command, whose arguments may be incomplete.
void ReplaceWithHelp(Options& options) {
  options.m_Words.resize(std::min<std::size_t>(options.m_Words.size(), 1));
  options.m_Words.insert(options.m_Words.begin(), "help");
  options.m_Given.clear();
  if (options.m_OutputFormat != "json") options.m_OutputFormat.clear();
}

void StoreAll(const CLI::App& app, Options& options) {
  for (const OptionRow& row : AllOptions()) {
    const CLI::Option& given = *app.get_option(row.m_Long);
    if (given.count() > 0) Store(row, given, options);
  }
  if (options.m_Help) ReplaceWithHelp(options);
  if (options.m_Version) options.m_Words = {"version"};
}

bool WantsColor(const Options& options, bool terminal) {
  if (options.m_Color != "auto") return options.m_Color == "always";
  const char* noColor = secure_getenv("NO_COLOR");
  const char* terminalType = secure_getenv("TERM");
  if (noColor != nullptr && *noColor != '\0') return false;
  return terminal && terminalType != nullptr && std::strcmp(terminalType, "dumb") != 0;
}

}  // namespace

void ParseCommandLine(const std::vector<std::string>& arguments, Options& options) {
  const std::unique_ptr<CLI::App> app = CreateParser(options);
  try {
    app->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    StoreAll(*app, options);
  } catch (const CLI::ParseError& e) {
    options.m_OutputFormat = FindOutputFormat(arguments);
    options.m_Words = FindCommand(arguments);
    throw UsageFailure(ParseErrorText(arguments, e));
  }
  CheckValues(*app, options);
}

Style DecideStyle(const Options& options, std::size_t terminalWidth) {
  Style style;
  std::setlocale(LC_CTYPE, "");
  const bool utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  // Text widths are always computed in UTF-8, even if the terminal uses another encoding.
  if (!utf8) std::setlocale(LC_CTYPE, "C.UTF-8");
  style.m_Ascii = options.m_Ascii || !utf8;
  style.m_Color = WantsColor(options, terminalWidth > 0);
  style.m_Headings = !options.m_NoHeadings;
  style.m_LocalTime = options.m_LocalTime;
  style.m_Width = terminalWidth;
  return style;
}

}  // namespace Console
