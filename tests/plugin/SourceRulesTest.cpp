// Rules for the plug-in's sources that a compiler does not check.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

struct Line {
  std::string file;
  std::string code;  // without its comment
};

// Returns the lines of the sources below the given directories of the checkout, ordered by file
// name.
std::vector<Line> LinesOf(std::initializer_list<const char*> directories) {
  std::set<std::filesystem::path> files;
  for (const char* directory : directories) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             std::filesystem::path(CORVANE_CHECKOUT) / directory)) {
      if (entry.is_regular_file()) files.insert(entry.path());
    }
  }
  std::vector<Line> lines;
  for (const auto& path : files) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
      lines.push_back({path.filename().string(), line.substr(0, line.find("//"))});
    }
  }
  return lines;
}

// Returns "FILE: CODE" for each matching line outside the file `exempt`.
std::vector<std::string> Matching(const std::vector<Line>& lines, const std::regex& pattern,
                                  const std::string& exempt = "") {
  std::vector<std::string> found;
  for (const Line& line : lines) {
    if (line.file == exempt || !std::regex_search(line.code, pattern)) continue;
    found.push_back(line.file + ": " + line.code);
  }
  std::sort(found.begin(), found.end());
  return found;
}

bool Finds(const std::regex& pattern, const std::string& code) {
  return std::regex_search(code, pattern);
}

// Numbers are converted to text in one place, and read with a fixed locale.
TEST(SourceRules, NumbersAreFormattedInOnePlace) {
  const std::regex formatting(
      "boost::format|to_chars|to_string\\(|o?stringstream|snprintf|lexical_cast|stod\\(");
  EXPECT_THAT(
      Matching(LinesOf({"Corvane/Src", "orm", "models"}), formatting),
      ElementsAre("Formatted.h:     const auto end = std::to_chars(m_Digits, std::end(m_Digits), "
                  "number).ptr;",
                  "storage.h:     std::istringstream cell(cells.front());",
                  "value_text.h:     const auto end = std::to_chars(m_buffer, m_buffer + sizeof "
                  "m_buffer, arguments...);"));
}

// These functions use the decimal point of the C library's locale, which may be a comma.
TEST(SourceRules, NumbersWithAFractionDoNotFollowTheCLocale) {
  const std::regex conversion(
      R"(\b(strto(f|d|ld)|atof|sto(f|d|ld)|[efg]cvt|strfmon|strfrom(f|d|l))\s*\(|\blexical_cast\b|)"
      R"(%[-+#0-9.*']*[hlLqjzt]*[aAeEfFgG])");
  for (const char* violation :
       {"strtod(text, &end);", "double d = std::stod(cell);", "std::strtof(cell, nullptr)",
        "atof(text)", "std::printf(\"%f\", value);", "snprintf(text, size, \"at %.3g\", value);",
        "sscanf(text, \"%lf\", &value)", "boost::format(\"%-8.2Lf %%\")",
        "boost::lexical_cast<double>(text)"}) {
    EXPECT_TRUE(Finds(conversion, violation)) << violation;
  }
  for (const char* harmless : {"strtod_l(text, &end, classic)", "printf(\"%lu %s\", n, text)"}) {
    EXPECT_FALSE(Finds(conversion, harmless)) << harmless;
  }
  const std::vector<Line> lines =
      LinesOf({"Corvane/Src", "orm", "models", "host", "hostkit", "base"});
  EXPECT_GT(lines.size(), 10000U);
  // The matches are a file name in a URI and the time of a trace line, whose fraction is formatted
  // as an integer.
  EXPECT_THAT(
      Matching(lines, conversion),
      ElementsAre(
          R"(Connection.cpp:   boost::replace_all(uri, "?", "%3F");)",
          R"(TraceLog.cpp:       "%Y-%m-%dT%H:%M:%S.%eZ %v", spdlog::pattern_time_type::utc));)"));
}

// Handles are passed to the card library only through functions that know their types.
TEST(SourceRules, TheCardLibraryIsCalledInOnePlace) {
  const std::regex call("\\bvsl_(?!init\\(|fini\\()[a-z_]+\\(");
  EXPECT_THAT(Matching(LinesOf({"Corvane/Src"}), call, "CardHandles.h"), IsEmpty());
}

// The worker waits on this event, but nothing in the plug-in sets it.
TEST(SourceRules, NothingSetsTheForceWorkerEvent) {
  EXPECT_THAT(Matching(LinesOf({"Corvane/Src"}), std::regex("m_ForceWorker")),
              ElementsAre("Corvane.h:   MBX::Threading::CEvent m_ForceWorker;",
                          "CorvanePlugin.cpp:          CheckInitialized(\"m_ForceWorker\", "
                          "m_ForceWorker.Init(false, false)) &&",
                          "CorvanePlugin.cpp:       TRACE(TRACE_FLOW, \"Worker() m_ForceWorker "
                          "event received, force scan\");",
                          "CorvanePlugin.cpp:   waiter.Add(m_ForceWorker);"));
}

// Matches a wait for, release of or pointer to one of the locks, or a lock of another type.
std::regex RawLocking(const std::set<std::string>& locks) {
  std::string names;
  for (const std::string& lock : locks) names += (names.empty() ? "" : "|") + lock;
  names = "(" + names + ")\\b";
  return std::regex("\\b" + names + "\\s*(\\.|->)\\s*(Wait|Release)\\b|&\\s*(\\w+::)?" + names +
                    "|\\b(CSyncGuard|ManualLock)\\b|\\b(lock_guard|\\w+_lock|\\w*mutex)\\b");
}

// Returns the names of members and variables of the host's lock type.
std::set<std::string> LocksIn(const std::vector<Line>& lines) {
  const std::regex declaration("\\bCFastMutex\\s*[&*]?\\s*(\\w+)");
  std::set<std::string> names;
  for (const Line& line : lines) {
    for (std::sregex_iterator it(line.code.begin(), line.code.end(), declaration), end; it != end;
         ++it) {
      names.insert((*it)[1]);
    }
  }
  return names;
}

// A lock that is held when an exception occurs must be released, so only the guards, which are all
// in one file, acquire and release locks.
TEST(SourceRules, LocksAreAcquiredOnlyThroughGuards) {
  const std::vector<Line> lines = LinesOf({"Corvane/Src"});
  const std::set<std::string> locks = LocksIn(lines);
  EXPECT_THAT(locks, IsSupersetOf({"m_DataLock", "m_EventsLock"}));
  EXPECT_THAT(LocksIn({{"", "CFastMutex m_Example;"}}), ElementsAre("m_Example"));
  const std::regex raw = RawLocking(locks);
  for (const char* violation :
       {"m_DataLock.Wait(kWaitInfinite)", "  m_EventsLock.Release();",
        "this->m_DataLock.Release();", "auto* lock = &m_DataLock;",
        "const CSyncGuard guard(m_DataLock, 0);", "const std::lock_guard<std::mutex> guard(m_Own);",
        "ManualLock lock(m_DataLock, TRACE_SITE(), a, b);", "boost::mutex m_Own;"}) {
    EXPECT_TRUE(Finds(raw, violation)) << violation;
  }
  for (const char* harmless :
       {"TRACED_GUARD(m_DataLock);", "TRACED_WAIT(m_DataLock, locked, x);", "thread->Wait(0)",
        "m_DataLock.Init()", "waiter.Wait(interval, false)", "iom.Release();"}) {
    EXPECT_FALSE(Finds(raw, harmless)) << harmless;
  }
  EXPECT_THAT(Matching(lines, raw, "Trace.h"), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
