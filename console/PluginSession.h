// A session with a plug-in that is loaded into this process.
#pragma once

#include <memory>

#include "console/History.h"
#include "console/PluginLibrary.h"
#include "console/Session.h"

namespace Console {

// A descriptor that the plug-in's worker makes readable when there is something to collect.
class Bell {
 public:
  Bell();
  ~Bell();
  Bell(const Bell&) = delete;
  Bell& operator=(const Bell&) = delete;

  void Ring() const;
  // True when it rang; takes all rings so far.
  bool Wait(std::chrono::milliseconds atMost, const Interest& also) const;

 private:
  const int m_Fd;
};

class PluginSession : public Session {
 public:
  // Brings the plug-in up, which takes more than a second. Throws `Failure`; a plug-in that found
  // no card is none. The history must outlive it.
  PluginSession(const std::filesystem::path& file, History& history);
  // Collects what events still wait, so that the log has them. Stops the plug-in and unloads it;
  // waits for its running jobs, up to 25 seconds.
  ~PluginSession() override;

  PluginInfo Info() const override;
  bool HasCards() const override { return m_HasCards; }
  std::vector<PI::CObject> Topology() override;
  std::vector<PI::CProperty> Properties(std::uint64_t object) override;
  std::vector<PI::CProperty> Property(std::uint64_t object, std::uint32_t property) override;
  std::uint32_t SetProperty(std::uint64_t object, PI::CProperty& property) override;
  std::vector<PI::COperation> Operations(std::uint64_t object) override;
  std::uint32_t CheckOperation(std::uint64_t object, PI::COperation& operation) override;
  std::uint32_t ExecuteOperation(std::uint64_t object, PI::COperation& operation) override;
  std::vector<LoggedEvent> CollectEvents() override;
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds atMost, const Interest& also) override;

 private:
  void Start();
  void CollectTheRest() noexcept;
  void Require(const char* what, PI::_COMMAND command, std::uint64_t object, void* payload);

  // In order of life: the instance dies before its library, the bell after both.
  Bell m_Bell;
  PluginLibrary m_Library;
  PluginInstance m_Plugin;
  History& m_History;
  std::uint64_t m_PluginID = 0;  // 0: not known yet
  bool m_HasCards = false;
};

}  // namespace Console
