// The parsed command line.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Console {

struct Options {
  std::vector<std::string> m_Words;  // the command and its arguments
  std::string m_OutputFormat;        // empty: the command's default
  std::vector<std::string> m_Columns;
  bool m_NoHeadings = false;
  bool m_Quiet = false;
  bool m_Verbose = false;
  bool m_Ascii = false;
  bool m_LocalTime = false;
  std::string m_Color = "auto";
  std::string m_Plugin;
  bool m_Direct = false;
  std::optional<std::string> m_Simulate;  // the file; empty: the default file
  std::string m_Database;
  std::optional<std::string> m_Trace;
  std::string m_TraceFile;
  bool m_Long = false;
  bool m_Follow = false;
  std::string m_For;
  std::string m_Since;
  std::string m_After;
  std::string m_EventSeverity;
  std::string m_From;
  std::string m_To;
  std::string m_Step;
  std::string m_Until;
  std::string m_Note;
  std::string m_Limit;
  std::string m_Timeout;
  std::string m_TextFile;
  std::string m_Socket;
  std::string m_Listen;
  bool m_ListenAny = false;
  std::string m_EventsDirectory;
  std::string m_Confirm;
  std::string m_Capacity;
  std::string m_SectorSize;
  bool m_Again = false;
  bool m_Yes = false;
  bool m_NoInput = false;
  bool m_DryRun = false;
  bool m_Force = false;
  bool m_Help = false;
  bool m_Version = false;
  std::set<std::string> m_Given;  // all options that were given, as "--long"
  // check
  std::string m_WarnTemperature;
  std::string m_CritTemperature;
  std::string m_WarnReserve;
  std::string m_CritReserve;
  std::string m_WarnUsed;
  std::string m_CritUsed;
  std::string m_Expect;
  std::string m_PerformanceData;
};

}  // namespace Console
