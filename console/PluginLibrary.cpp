#include "console/PluginLibrary.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <exception>
#include <system_error>

#include "console/Exports.h"
#include "console/Failure.h"
#include "console/Trust.h"

namespace Console {
namespace {

constexpr std::uint32_t kInterfaceVersion = 2;

// A sanitizer cannot name code that is gone, and takes what its statics held for leaked.
#ifdef CORVANE_KEEP_PLUGIN_MAPPED
constexpr int kLoadFlags = RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE;
#else
constexpr int kLoadFlags = RTLD_NOW | RTLD_LOCAL;
#endif

Failure LoadFailure(const std::string& id, const std::string& why) {
  return Failure(ExitCode::PluginUnfit, id, "loading the plug-in", why,
                 {"Name another one with --plugin FILE."});
}

std::string LastLoaderError() {
  const char* text = dlerror();
  return text == nullptr ? "unknown reason" : text;
}

void RequireFile(const std::string& file) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) {
    throw LoadFailure("PLUGIN_MISSING", fmt::format("there is no file {}", file));
  }
}

void RequireTrusted(const std::filesystem::path& file) {
  const std::string objection = ObjectionToCode(file);
  if (objection.empty()) return;
  throw Failure(ExitCode::PluginUnfit, "PLUGIN_NOT_TRUSTED", "loading the plug-in", objection,
                TrustAdvice(file));
}

// The loader takes what the plug-in needs from its own folder first.
void RequireTrustedCompanions(const std::filesystem::path& plugin) {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::canonical(plugin, error).parent_path();
  for (const std::string& name : NeededLibraries(plugin.string())) {
    if (std::filesystem::exists(folder / name, error)) RequireTrusted(folder / name);
  }
}

}  // namespace

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path DefaultPluginFile() {
  return (ProgramFolder() / ".." / "lib" / "libCorvane.so").lexically_normal();
}

PluginLibrary::PluginLibrary(const std::filesystem::path& file)
    : m_File(std::filesystem::absolute(file).string()) {
  RequireFile(m_File);
  RequireTrusted(m_File);
  RequireTrustedCompanions(m_File);
  m_Handle = dlopen(m_File.c_str(), kLoadFlags);
  if (m_Handle == nullptr) throw LoadFailure("PLUGIN_NOT_LOADED", LastLoaderError());
  m_Create = reinterpret_cast<Create>(EntryPoint("createIf"));
  m_Release = reinterpret_cast<Release>(EntryPoint("releaseIf"));
}

PluginLibrary::~PluginLibrary() {
  dlclose(m_Handle);
}

void* PluginLibrary::EntryPoint(const char* name) const {
  void* found = dlsym(m_Handle, name);
  if (found != nullptr) return found;
  dlclose(m_Handle);
  throw LoadFailure("PLUGIN_NO_ENTRY_POINT",
                    fmt::format("{} has no {}: it is no storage plug-in", m_File, name));
}

PluginInstance::PluginInstance(PluginLibrary& library) : m_Library(library) {
  unsigned int result = PI::SUCCESS;
  try {
    result = library.m_Create(&m_pPlugin);
  } catch (const std::exception& e) {
    throw Failure(ExitCode::Failed, "PLUGIN_NOT_MADE", "making the plug-in", e.what());
  }
  if (result != PI::SUCCESS || m_pPlugin == nullptr) {
    throw LoadFailure("PLUGIN_NOT_MADE", fmt::format("createIf gave {}", result));
  }
  const std::uint32_t version = m_pPlugin->m_InterfaceVersion;
  if (version == kInterfaceVersion) return;
  library.m_Release(&m_pPlugin);
  throw LoadFailure("PLUGIN_WRONG_VERSION",
                    fmt::format("{} speaks interface version {}, this host speaks version {}",
                                library.m_File, version, kInterfaceVersion));
}

PluginInstance::~PluginInstance() {
  m_Library.m_Release(&m_pPlugin);
}

}  // namespace Console
