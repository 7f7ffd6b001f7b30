#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <new>
#include <stdexcept>

#include "cardsim/FileStore.h"
#include "cardsim/TrustedPath.h"
#include "cardsim/cardsim.h"

namespace CardSim {
namespace {

namespace fs = std::filesystem;

constexpr unsigned int kVendor = 0x1aed;
// Tells our tree from a real one, which must never be removed.
constexpr const char* kMark = "bus/pci/.cardsim";

template <typename... Numbers>
std::string Format(const char* format, Numbers... numbers) {
  char text[64];
  std::snprintf(text, sizeof text, format, numbers...);
  return text;
}

void WriteLine(const fs::path& path, const std::string& line) {
  std::ofstream file(path);
  file << line << '\n';
  file.flush();
  if (!file) throw std::runtime_error(path.string() + ": cannot be written");
}

std::string AddressOf(const Card& card) {
  const unsigned int domain = Read<std::uint16_t>(card.values, Attribute::pci_domain, 0);
  const unsigned int bus = Read<std::uint8_t>(card.values, Attribute::pci_bus, 0);
  const unsigned int device = Read<std::uint8_t>(card.values, Attribute::pci_device, 0);
  const unsigned int function = Read<std::uint8_t>(card.values, Attribute::pci_function, 0);
  return Format("%04x:%02x:%02x.%x", domain, bus, device, function);
}

// Below a folder that others may change, we would write and remove where they want.
void CheckTree(const fs::path& mark) {
  struct stat status = {};
  const bool exists = lstat(mark.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {
    throw std::runtime_error(mark.string() + ": is no regular file");
  }
  const Place place = Locate(mark);
  if (exists) CheckTrusted(mark, place, status);
}

void ClearTree(const fs::path& folder) {
  const fs::path devices = folder / "bus/pci/devices";
  if (fs::exists(devices) && !fs::exists(folder / kMark)) {
    throw std::runtime_error(devices.string() + ": not written by cardsim, left alone");
  }
  // The mark comes before what it stands for: a tree that was begun can be begun again.
  fs::create_directories(devices.parent_path());
  CheckTree(folder / kMark);
  WriteLine(folder / kMark, "simulated cards");
  fs::remove_all(devices);
  fs::create_directory(devices);
}

void WriteDevice(const fs::path& devices, const Card& card) {
  const fs::path folder = devices / AddressOf(card);
  if (!fs::create_directory(folder)) {
    throw std::runtime_error(card.name + ": another card has its PCI address " + AddressOf(card));
  }
  const unsigned int device = Read<std::uint16_t>(card.values, Attribute::pci_device_id, 0);
  WriteLine(folder / "vendor", Format("0x%04x", kVendor));
  WriteLine(folder / "device", Format("0x%04x", device));
}

}  // namespace

void StateFile::WriteSysfs(const fs::path& folder) const {
  const auto loaded = FileStore(m_Path).Load();
  try {
    ClearTree(folder);
    for (const Card& card : loaded->state->cards) WriteDevice(folder / "bus/pci/devices", card);
  } catch (const fs::filesystem_error& error) {
    if (error.code() == std::errc::not_enough_memory) throw std::bad_alloc();
    throw std::runtime_error(error.path1().string() + ": " + error.code().message());
  }
}

}  // namespace CardSim
