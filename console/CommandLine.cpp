#include "console/CommandLine.h"

#include <fmt/format.h>
#include <langinfo.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "console/Failure.h"

namespace Console {
namespace {

const std::vector<std::string> kForms = {"table", "tree", "tsv", "json", "jsonl", "value"};

struct Parsed {
  std::string m_Simulate;
  std::string m_Trace;
  bool m_Help = false;
  bool m_Version = false;
};

// Options of some commands alone.
const std::vector<std::string> kSpecial = {
    "--columns", "--long",    "--follow",   "--for",         "--yes",   "--confirm", "--dry-run",
    "--force",   "--timeout", "--capacity", "--sector-size", "--since", "--limit"};

void AddOutputOptions(CLI::App& app, Options& options) {
  app.add_option("-o,--output", options.m_Form,
                 "Form of the answer: " + CLI::detail::join(kForms, ", "))
      ->type_name("FORM");
  app.add_option("-c,--columns", options.m_Columns, "Columns of list and tree, with commas between")
      ->delimiter(',')
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->type_name("NAMES");
  app.add_flag("-H,--no-headings", options.m_NoHeadings, "No line with headings");
  app.add_flag("-l,--long", options.m_Long, "tree: also ids, reasons and sizes; -v does the same");
  app.add_flag("-f,--follow", options.m_Follow, "events: go on until Ctrl-C");
  app.add_option("--for", options.m_For, "events, watch, locate: go on for 30s, 5m or 1h")
      ->type_name("TIME");
  app.add_option("--since", options.m_Since,
                 "events: not older than 1h, 2d, yesterday, 2026-11-20 or 2026-11-20T05:31:00Z")
      ->type_name("TIME");
  app.add_option("--limit", options.m_Limit, "events: the newest N; 50, or all with --since")
      ->type_name("N");
  app.add_flag("-q,--quiet", options.m_Quiet, "No notes on standard error, errors only");
  app.add_flag("-v,--verbose", options.m_Verbose, "More; also what the plug-in prints by itself");
  app.add_flag("--ascii", options.m_Ascii, "Plain characters only");
  app.add_option("--color", options.m_Colour, "auto, always or never")->type_name("WHEN");
}

void AddChangeOptions(CLI::App& app, Options& options) {
  app.add_flag("-y,--yes", options.m_Yes, "Do it without a question; does not reach a format");
  app.add_option("--confirm", options.m_Confirm, "format: the serial number, instead of a question")
      ->type_name("SERIAL");
  app.add_flag("--no-input", options.m_NoInput, "Never ask: what needs an answer is refused");
  app.add_flag("-n,--dry-run", options.m_DryRun, "Say what would be changed, and change nothing");
  app.add_flag("--force", options.m_Force, "detach: also when the card is in use");
  app.add_option("--timeout", options.m_Timeout, "attach, detach (2m), wait: no longer than this")
      ->type_name("TIME");
  app.add_option("--capacity", options.m_Capacity,
                 "format: maximum, factory, improved, high, or 10 to 100 per cent")
      ->type_name("SIZE");
  app.add_option("--sector-size", options.m_SectorSize, "format: bytes; as before if not given")
      ->type_name("BYTES");
}

void AddPluginOptions(CLI::App& app, Options& options, Parsed& parsed) {
  app.add_option("--plugin", options.m_Plugin, "The plug-in to load")->type_name("FILE");
  app.add_flag("--simulate", parsed.m_Simulate,
               "Simulated cards instead of the machine's; --simulate=FILE names their file");
  app.add_option("--database", options.m_Database, "The host's database")->type_name("FILE");
  app.add_option("--trace", parsed.m_Trace, "Trace lines of these levels: 2,4,16, all or off")
      ->type_name("LEVELS");
  app.add_option("--trace-file", options.m_TraceFile, "Where trace lines go, else standard error")
      ->type_name("FILE");
  app.add_flag("-h,--help", parsed.m_Help, "Help, also for one command");
  app.add_flag("--version", parsed.m_Version, "The version of this program");
}

std::unique_ptr<CLI::App> MakeApp(Options& options, Parsed& parsed) {
  auto app = std::make_unique<CLI::App>("", "corvane-host");
  app->set_help_flag();
  app->allow_extras();
  app->add_option("words", options.m_Words)->group("");
  // So that a person can correct what an alias or a script has put in front.
  app->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  AddOutputOptions(*app, options);
  AddChangeOptions(*app, options);
  AddPluginOptions(*app, options, parsed);
  return app;
}

// The form, found without a full understanding of the arguments.
std::string GuessForm(const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    for (const std::string& form : kForms) {
      const bool follows = i > 0 && arguments[i] == form &&
                           (arguments[i - 1] == "-o" || arguments[i - 1] == "--output");
      if (follows || arguments[i] == "-o" + form || arguments[i] == "--output=" + form) return form;
    }
  }
  return {};
}

std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

void RequireOneOf(const char* option, const std::string& value,
                  const std::vector<std::string>& allowed) {
  for (const std::string& text : allowed) {
    if (value == text) return;
  }
  std::vector<std::string> advice = DidYouMean(value, allowed);
  advice.push_back("It may be: " + CLI::detail::join(allowed, ", "));
  throw UsageFailure(fmt::format("{} cannot be '{}'", option, value), advice);
}

void CheckValues(const CLI::App& app, Options& options) {
  const std::vector<std::string> extras = app.remaining();
  if (!extras.empty()) {
    throw UsageFailure(fmt::format("there is no option {}", extras.front()),
                       DidYouMean(extras.front(), OptionNames(app)));
  }
  const std::string form = options.m_Form;
  options.m_Form.clear();
  if (!form.empty()) RequireOneOf("-o", form, kForms);
  options.m_Form = form;
  RequireOneOf("--color", options.m_Colour, {"auto", "always", "never"});
}

void TakeOver(const CLI::App& app, const Parsed& parsed, Options& options) {
  if (app.count("--simulate") > 0) {
    options.m_Simulate = parsed.m_Simulate == "true" ? std::string() : parsed.m_Simulate;
  }
  if (app.count("--trace") > 0) options.m_Trace = parsed.m_Trace;
  for (const std::string& name : kSpecial) {
    if (app.count(name) > 0) options.m_Special.insert(name);
  }
  if (parsed.m_Help) options.m_Words.insert(options.m_Words.begin(), "help");
  if (parsed.m_Version) options.m_Words = {"version"};
}

bool WantsColour(const Options& options, bool terminal) {
  if (options.m_Colour != "auto") return options.m_Colour == "always";
  const char* noColour = std::getenv("NO_COLOR");
  const char* kind = std::getenv("TERM");
  if (noColour != nullptr && *noColour != '\0') return false;
  return terminal && kind != nullptr && std::strcmp(kind, "dumb") != 0;
}

}  // namespace

void ParseCommandLine(const std::vector<std::string>& arguments, Options& options) {
  Parsed parsed;
  const std::unique_ptr<CLI::App> app = MakeApp(options, parsed);
  try {
    app->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& e) {
    options.m_Form = GuessForm(arguments);
    throw UsageFailure(e.what());
  }
  TakeOver(*app, parsed, options);
  CheckValues(*app, options);
}

std::string OptionHelp() {
  Options options;
  Parsed parsed;
  const std::unique_ptr<CLI::App> app = MakeApp(options, parsed);
  return CLI::Formatter().make_groups(app.get(), CLI::AppFormatMode::Normal);
}

Style DecideStyle(const Options& options, std::size_t terminalWidth) {
  Style style;
  std::setlocale(LC_CTYPE, "");
  const bool utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  // Names of cards are measured as UTF-8 whatever the person's terminal can draw.
  if (!utf8) std::setlocale(LC_CTYPE, "C.UTF-8");
  style.m_Ascii = options.m_Ascii || !utf8;
  style.m_Colour = WantsColour(options, terminalWidth > 0);
  style.m_Headings = !options.m_NoHeadings;
  return style;
}

}  // namespace Console
