#include "console/plugin/StartChecks.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/Descriptor.h"
#include "console/base/Failure.h"
#include "hostkit/Paths.h"

namespace Console {
namespace {

// Enough for the plug-in and its libraries, the database, the trace, a pipe and a reserve.
constexpr std::size_t kNeededDescriptors = 64;

Failure BusFailure(const std::string& file, int error) {
  const bool denied = error == EACCES || error == EPERM;
  return Failure(denied ? ExitCode::Permission : ExitCode::Failed, "SYSFS_UNREADABLE",
                 fmt::format("cannot read {}", file), std::strerror(error),
                 {"Cards are detected through this file, so it is unknown whether there are any."});
}

void RequireReadable(const std::string& file) {
  const int error = Base::CheckReadable(file);
  if (error != 0 && error != ENOENT && error != ENOTDIR) throw BusFailure(file, error);
}

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

}  // namespace

void RequireFreeDescriptors() {
  std::vector<Base::Descriptor> reserve;
  while (reserve.size() < kNeededDescriptors) {
    Base::Descriptor next(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int error = next.IsOpen() ? 0 : errno;
    reserve.push_back(std::move(next));
    if (error == 0) continue;
    const char* advice = error == ENFILE ? "Raise the system limit: sysctl fs.file-max"
                                         : "Raise the limit: ulimit -n 256";
    throw Failure(ExitCode::Failed, "NO_DESCRIPTORS", "cannot start the plug-in",
                  fmt::format("only {} more files can be opened; up to {} are needed ({})",
                              reserve.size() - 1, kNeededDescriptors, std::strerror(error)),
                  {advice});
  }
}

// On a machine without a PCI bus, the directory does not exist.
void RequireReadableBus() {
  const std::string directory = (HostKit::SysfsRoot() / "bus" / "pci" / "devices").string();
  const std::unique_ptr<DIR, CloseDirectory> devices(opendir(directory.c_str()));
  if (!devices && errno == ENOENT) return;
  if (!devices) throw BusFailure(directory, errno);
  while (const dirent* device = readdir(devices.get())) {
    if (device->d_name[0] == '.') continue;
    for (const char* name : {"vendor", "device"}) {
      RequireReadable(fmt::format("{}/{}/{}", directory, device->d_name, name));
    }
  }
}

}  // namespace Console
