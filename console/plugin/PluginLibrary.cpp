#include "console/plugin/PluginLibrary.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <boost/algorithm/string/replace.hpp>
#include <exception>
#include <optional>
#include <set>
#include <system_error>
#include <vector>

#include "console/base/Failure.h"
#include "console/base/TrustedCode.h"
#include "console/plugin/Exports.h"

namespace Console {
namespace {

namespace fs = std::filesystem;

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

void Require(const std::string& objection, const fs::path& file) {
  if (objection.empty()) return;
  throw Failure(ExitCode::PluginUnfit, "PLUGIN_NOT_TRUSTED", "loading the plug-in", objection,
                TrustAdvice(file));
}

// The names of the folders in which the loader looks before the folder of a search path itself.
// Other names below them stand for processors.
constexpr const char* kLoaderFolders[] = {"glibc-hwcaps", "tls", "x86_64"};

// The folders of a search path, with all below those.
std::vector<fs::path> LoaderFolders(const fs::path& folder) {
  std::vector<fs::path> folders = {folder};
  for (const char* name : kLoaderFolders) {
    std::error_code error;
    if (!fs::is_directory(folder / name, error)) continue;
    folders.push_back(folder / name);
    const auto follow = fs::directory_options::follow_directory_symlink;
    for (fs::recursive_directory_iterator below(folder / name, follow, error), end; below != end;
         below.increment(error)) {
      if (below.depth() > 3) below.disable_recursion_pending();
      if (below->is_directory(error)) folders.push_back(below->path());
    }
  }
  return folders;
}

// Nothing for a search path that depends on more than the place of the library.
std::optional<fs::path> SearchFolder(std::string path, const fs::path& origin) {
  for (const char* word : {"${ORIGIN}", "$ORIGIN"}) boost::replace_all(path, word, origin.string());
  return path.find('$') == std::string::npos ? std::optional<fs::path>(path) : std::nullopt;
}

// A file that cannot be reached is given back as it is: loading it says why.
fs::path WithoutLinks(const fs::path& file) {
  std::error_code error;
  const fs::path found = fs::canonical(file, error);
  return error ? file : found;
}

// Goes the way of the loader, from a library to those that it needs and on to theirs.
class Companions {
 public:
  void RequireTrusted(const fs::path& file) {
    const fs::path library = WithoutLinks(file);
    if (!m_Seen.insert(library.string()).second) return;
    Require(ObjectionToCode(file), file);
    const Dependencies needs = DependenciesOf(library.string());
    for (const std::string& path : needs.m_SearchPaths) {
      const auto folder = SearchFolder(path, library.parent_path());
      if (folder) RequireTrustedIn(*folder, needs.m_Names);
    }
  }

 private:
  void RequireTrustedIn(const fs::path& searched, const std::vector<std::string>& names) {
    for (const fs::path& folder : LoaderFolders(searched)) {
      Require(ObjectionToCodeFolder(folder), folder / "x");
      for (const std::string& name : names) {
        std::error_code error;
        if (fs::exists(folder / name, error)) RequireTrusted(folder / name);
      }
    }
  }

  std::set<std::string> m_Seen;
};

// The file without links: the loader takes the folder of the name that it is given for the
// library's own.
fs::path ResolveTrustedLibrary(const std::string& file) {
  Companions().RequireTrusted(file);
  return WithoutLinks(file);
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
  m_Handle = dlopen(ResolveTrustedLibrary(m_File).c_str(), kLoadFlags);
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
