#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/FileStatus.h"
#include "cardsim/cardsim.h"
#include "cardsim/store/FileStore.h"
#include "cardsim/store/TrustedFile.h"

namespace CardSim {
namespace {

namespace fs = std::filesystem;

constexpr unsigned int kVendor = 0x1aed;
// Identifies a tree created by cardsim. A real sysfs tree must never be removed.
constexpr const char* kMarkerFile = "bus/pci/.cardsim";

template <typename... Numbers>
std::string Format(const char* format, Numbers... numbers) {
  char text[64];
  std::snprintf(text, sizeof text, format, numbers...);
  return text;
}

// Files and directories are created below an open directory, so that no part of the path can be
// replaced by a link in the meantime. Apart from its last component, the path is only for messages.
void WriteLine(const Base::Descriptor& directory, const fs::path& path, const std::string& line) {
  const Base::Descriptor file =
      Base::OpenAt(directory.Get(), path.filename().string(),
                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, ModeOfNewFile());
  const std::string text = line + '\n';
  const bool written = file.IsOpen() && write(file.Get(), text.data(), text.size()) ==
                                            static_cast<ssize_t>(text.size());
  if (!written) throw std::runtime_error(path.string() + ": cannot be written");
}

// If the directory cannot be created, returns a descriptor that is not open, with the reason in
// errno.
Base::Descriptor CreateDirectory(const Base::Descriptor& directory, const fs::path& path) {
  const std::string name = path.filename().string();
  if (mkdirat(directory.Get(), name.c_str(), ModeOfNewDirectory()) != 0) return Base::Descriptor();
  return Base::OpenAt(directory.Get(), name, O_PATH | O_DIRECTORY | O_NOFOLLOW);
}

std::string AddressOf(const Card& card) {
  const unsigned int domain = Read<std::uint16_t>(card.values, Attribute::pci_domain, 0);
  const unsigned int bus = Read<std::uint8_t>(card.values, Attribute::pci_bus, 0);
  const unsigned int device = Read<std::uint8_t>(card.values, Attribute::pci_device, 0);
  const unsigned int function = Read<std::uint8_t>(card.values, Attribute::pci_function, 0);
  return Format("%04x:%02x:%02x.%x", domain, bus, device, function);
}

// Creates the marker file if it is missing, and returns its directory. In an untrusted directory,
// other users could choose where files are written and removed.
Base::Descriptor CreateMarker(const fs::path& marker) {
  struct stat status = {};
  const bool exists = Base::LstatWithAcl(marker.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {
    throw std::runtime_error(marker.string() + ": not a regular file");
  }
  Base::TrustedDirectory directory = CreateParentDirectory(marker);
  if (exists) {
    CheckTrusted(marker, directory, status);
  } else {
    WriteLine(directory.m_Directory, marker, "simulated cards");
  }
  return std::move(directory.m_Directory);
}

// Removes the simulated devices and returns the new, empty device directory.
Base::Descriptor ClearTree(const fs::path& directory) {
  const fs::path devices = directory / "bus/pci/devices";
  if (fs::exists(devices) && !fs::exists(directory / kMarkerFile)) {
    throw std::runtime_error(devices.string() + ": not created by cardsim; will not be replaced");
  }
  // The marker file is written first, so that an incomplete tree can be replaced.
  const Base::Descriptor bus = CreateMarker(directory / kMarkerFile);
  fs::remove_all(devices);
  Base::Descriptor created = CreateDirectory(bus, devices);
  if (!created.IsOpen()) FailWithErrno(devices);
  return created;
}

void WriteDevice(const Base::Descriptor& devices, const fs::path& directory, const Card& card) {
  const Base::Descriptor created = CreateDirectory(devices, directory);
  if (!created.IsOpen() && errno == EEXIST) {
    throw std::runtime_error(card.name + ": PCI address " + AddressOf(card) +
                             " is already used by another card");
  }
  if (!created.IsOpen()) FailWithErrno(directory);
  const unsigned int device = Read<std::uint16_t>(card.values, Attribute::pci_device_id, 0);
  WriteLine(created, directory / "vendor", Format("0x%04x", kVendor));
  WriteLine(created, directory / "device", Format("0x%04x", device));
}

}  // namespace

void StateFile::WriteSysfs(const fs::path& directory) const {
  const auto loaded = FileStore(m_Path).Load();
  try {
    const Base::Descriptor devices = ClearTree(directory);
    for (const Card& card : loaded->state->cards) {
      WriteDevice(devices, directory / "bus/pci/devices" / AddressOf(card), card);
    }
  } catch (const fs::filesystem_error& error) {
    if (error.code() == std::errc::not_enough_memory) throw std::bad_alloc();
    throw std::runtime_error(error.path1().string() + ": " + error.code().message());
  }
}

}  // namespace CardSim
