// The plug-in's ini file. Input: the file up to the first NUL byte, then a value to be written.
#include <cstdlib>
#include <string>

#include "Corvane/Src/Corvane.h"
#include "fuzz/Directory.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "host/PluginInterface.h"
#include "hostkit/ConfigFile.h"

namespace CorvaneFuzz {
namespace {

constexpr const char* kKey = "PollInterval";

// Returns the interval that a plug-in reads from the file at startup.
int PollInterval() {
  IPLUGINAPI* plugin = nullptr;
  Require(createIf(&plugin) == PI::SUCCESS, "the plug-in did not start");
  PI::CProperty property(PI::Property::UNDEFINED, false);
  property.m_PropertyID = PI::Property::POLL_INTERVAL;
  // The plug-in object has the id 0 until the plug-in is initialized.
  const unsigned int result = plugin->Execute(PI::CMD_GET_PROPERTY, 0, &property);
  Require(result == PI::SUCCESS, "cannot read the poll interval");
  int seconds = 0;
  property.GetValueRange(seconds);
  releaseIf(&plugin);
  return seconds;
}

void CheckPollInterval() {
  const int seconds = PollInterval();
  Require(seconds >= 2 && seconds <= 255,
          "poll interval is out of range: " + std::to_string(seconds));
}

}  // namespace

void Ini(const std::string& input) {
  static const Directory directory;
  setenv("CORVANE_CONFIG_DIR", directory.Path().c_str(), 1);
  setenv("CORVANE_DATABASE", ":memory:", 1);
  const std::size_t end = input.find('\0');
  const std::string text = input.substr(0, end);
  WriteFile(directory.File("Corvane.ini"), text);
  CheckPollInterval();
  if (end == std::string::npos) return;

  PI::CConfigFile file;
  file.SetFileName("Corvane.ini");
  const std::string value = input.substr(end + 1);
  if (file.WriteKeyValue(kKey, value, -1, -1) != HostKit::RESULT_OK) {
    Require(ReadFile(directory.File("Corvane.ini")) == text, "rejected value changed the file");
    return;
  }
  std::string readBack;
  Require(file.ReadKeyValue(kKey, readBack, -1, -1) == HostKit::RESULT_OK && readBack == value,
          "written value does not survive a round trip");
  CheckPollInterval();
}

}  // namespace CorvaneFuzz
