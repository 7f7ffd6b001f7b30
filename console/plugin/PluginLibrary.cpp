#include "console/plugin/PluginLibrary.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <set>
#include <string_view>
#include <system_error>

#include "console/base/Failure.h"
#include "console/base/TrustedCode.h"
#include "console/plugin/Exports.h"

namespace Console {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kInterfaceVersion = 2;
constexpr const char* kCreate = "createIf";
constexpr const char* kRelease = "releaseIf";
constexpr const char* kHostLibrary = "libhostkit.so";

// Keeps the code mapped for sanitizers, which cannot symbolize unloaded code and report the memory
// owned by its static objects as leaks.
#ifdef CORVANE_KEEP_PLUGIN_MAPPED
constexpr int kLoadFlags = RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE;
#else
constexpr int kLoadFlags = RTLD_NOW | RTLD_LOCAL;
#endif

std::atomic<void*> g_Loaded{nullptr};  // the plug-in's handle of the loader
std::atomic<std::uint64_t> g_Loads{0};

Failure LoadFailure(const std::string& id, const std::string& why) {
  return Failure(ExitCode::PluginUnusable, id, "cannot load the plug-in", why,
                 {"Pass another plug-in with --plugin FILE."});
}

std::string LastLoaderError() {
  const char* text = dlerror();
  return text == nullptr ? "unknown reason" : text;
}

void RequireFile(const std::string& file) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) {
    throw LoadFailure("PLUGIN_MISSING", fmt::format("file not found: {}", file));
  }
}

void ThrowIfUntrusted(const std::string& trustError, const fs::path& file) {
  if (trustError.empty()) return;
  throw Failure(ExitCode::PluginUnusable, "PLUGIN_NOT_TRUSTED", "cannot load the plug-in",
                trustError, TrustAdvice(file));
}

// Subdirectories of a search path that the loader tries before the path itself. They may contain
// directories named after processor types.
constexpr const char* kLoaderDirectories[] = {"glibc-hwcaps", "tls",      "x86_64",  "haswell",
                                              "xeon_phi",     "avx512_1", "aarch64", "atomics"};

// Resolves symbolic links. Returns a file that cannot be resolved unchanged; loading it reports the
// reason.
fs::path WithoutLinks(const fs::path& file) {
  std::error_code error;
  const fs::path found = fs::canonical(file, error);
  return error ? file : found;
}

bool IsNameCharacter(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
         (character >= '0' && character <= '9') || character == '_';
}

// Returns the length of the $ORIGIN or ${ORIGIN} that starts at `at`, or 0 if there is none.
std::size_t OriginLength(const std::string& text, std::size_t at) {
  constexpr std::string_view plain = "$ORIGIN";
  constexpr std::string_view braced = "${ORIGIN}";
  if (text.compare(at, braced.size(), braced) == 0) return braced.size();
  const std::size_t end = at + plain.size();
  const bool isOrigin = text.compare(at, plain.size(), plain) == 0 &&
                        (end == text.size() || !IsNameCharacter(text[end]));
  return isOrigin ? plain.size() : 0;
}

// Replaces $ORIGIN with the directory of `library`. Throws `Failure` for other variables, because
// only the loader knows their values.
fs::path Expand(const std::string& text, const fs::path& library) {
  const std::string directory = library.parent_path().string();
  std::string path;
  bool isKnown = true;
  for (std::size_t at = 0; at < text.size();) {
    if (const std::size_t length = OriginLength(text, at)) {
      path += directory;
      at += length;
    } else {
      isKnown = isKnown && text[at] != '$';
      path += text[at++];
    }
  }
  ThrowIfUntrusted(
      isKnown ? "" : fmt::format("{} has an unsupported variable in {}", library.string(), text),
      library);
  return fs::absolute(path.empty() ? "." : path);
}

// Checks every file that the loader could load: a library and its direct and indirect dependencies.
// Every search path is applied to every library, because some paths also apply to indirect
// dependencies.
class DependencyChecker {
 public:
  void RequireTrusted(const fs::path& file) {
    RequireTrustedFile(file);
    // Checking a file can add names and directories, so this repeats until nothing is new.
    for (std::size_t known = 0; known != m_Names.size() + m_Directories.size();) {
      known = m_Names.size() + m_Directories.size();
      const auto names = m_Names;
      const auto directories = m_Directories;
      for (const fs::path& directory : directories) {
        for (const std::string& name : names) RequireTrustedFile(directory / name);
      }
    }
  }

 private:
  // Does not resolve links, because the loader uses the directory of the link as $ORIGIN.
  void RequireTrustedFile(const fs::path& file) {
    std::error_code error;
    if (!fs::exists(file, error) || !m_Seen.insert(file).second) return;
    ThrowIfUntrusted(TrustErrorOfCode(file), file);
    const Dependencies needs = DependenciesOf(file.string());
    for (const std::string& path : needs.m_SearchPaths) AddDirectories(Expand(path, file));
    for (const std::string& name : needs.m_Names) {
      const bool isPath =
          name.find('/') != std::string::npos || name.find('$') != std::string::npos;
      if (!isPath) {
        m_Names.insert(name);
        continue;
      }
      const fs::path needed = Expand(name, file);
      ThrowIfUntrusted(TrustErrorOfCodeDirectory(needed.parent_path()), needed);
      RequireTrustedFile(needed);
    }
  }

  // Adds a directory of a search path and its subdirectories that the loader tries first.
  void AddDirectories(const fs::path& directory) {
    AddDirectory(directory);
    for (const char* name : kLoaderDirectories) {
      std::error_code error;
      if (fs::is_directory(directory / name, error)) AddDirectoriesBelow(directory / name);
    }
  }

  void AddDirectoriesBelow(const fs::path& directory) {
    AddDirectory(directory);
    std::error_code error;
    const auto follow = fs::directory_options::follow_directory_symlink;
    fs::recursive_directory_iterator below(directory, follow, error);
    for (const fs::recursive_directory_iterator end; !error && below != end;
         below.increment(error)) {
      if (below.depth() > 3) below.disable_recursion_pending();
      if (fs::is_directory(below->path())) AddDirectory(below->path());
    }
    ThrowIfUntrusted(
        error ? fmt::format("{} cannot be read: {}", directory.string(), error.message()) : "",
        directory);
  }

  void AddDirectory(const fs::path& directory) {
    ThrowIfUntrusted(TrustErrorOfCodeDirectory(directory), directory / "x");
    m_Directories.insert(WithoutLinks(directory));
  }

  std::set<fs::path> m_Seen;
  std::set<fs::path> m_Directories;
  std::set<std::string> m_Names;
};

// Returns the path without links, because the loader uses the directory of the given path as
// $ORIGIN.
fs::path ResolveTrustedLibrary(const std::string& file) {
  ThrowIfUntrusted(TrustErrorOfCode(file), file);
  const fs::path library = WithoutLinks(file);
  DependencyChecker().RequireTrusted(library);
  return library;
}

// Whether the loader's error means that the card vendor's library is not installed.
bool IsCardLibraryMissing(const std::string& loaderError) {
  return loaderError.rfind(std::string(kCardLibrary) + ":", 0) == 0;
}

LoadedLibrary Load(const fs::path& library) {
  if (IsTruncated(library.string())) {
    throw LoadFailure("PLUGIN_TRUNCATED",
                      fmt::format("{} is incomplete; install it again", library.string()));
  }
  LoadedLibrary loaded(dlopen(library.c_str(), kLoadFlags));
  if (loaded) return loaded;
  const std::string why = LastLoaderError();
  if (!IsCardLibraryMissing(why)) throw LoadFailure("PLUGIN_NOT_LOADED", why);
  throw Failure(ExitCode::PluginUnusable, "CARD_LIBRARY_MISSING", "cannot load the plug-in",
                fmt::format("the card vendor's library {} is not installed", kCardLibrary),
                {"Install the vendor's library, or pass --simulate to use simulated cards."});
}

// A plug-in that was built with another SDK would bind to the functions of that SDK and of this
// program at the same time.
void RequireThisHost(const fs::path& library) {
  const auto names = DependenciesOf(library.string()).m_Names;
  const bool usesHostKit = std::any_of(names.begin(), names.end(), [](const std::string& name) {
    return fs::path(name).filename() == kHostLibrary;
  });
  if (usesHostKit || !ExportsSymbol(library.string(), kCreate)) return;
  throw LoadFailure("PLUGIN_FOREIGN",
                    fmt::format("{} was built for another host: it does not use {}",
                                library.string(), kHostLibrary));
}

LoadedLibrary LoadPlugin(const std::string& file) {
  RequireFile(file);
  const fs::path library = ResolveTrustedLibrary(file);
  RequireThisHost(library);
  return Load(library);
}

LoadedLibrary LoadCardLibrary(const fs::path& file) {
  return file.empty() ? nullptr : Load(ResolveTrustedLibrary(file.string()));
}

}  // namespace

void* FindInPlugin(const char* name) {
  return dlsym(g_Loaded, name);
}

std::uint64_t PluginLoads() {
  return g_Loads;
}

void CloseLibrary::operator()(void* handle) const {
  dlclose(handle);
}

PluginLibrary::PluginLibrary(const PluginFiles& files)
    : m_File(fs::absolute(files.m_Plugin).string()),
      m_CardLibrary(LoadCardLibrary(files.m_CardLibrary)),
      m_Plugin(LoadPlugin(m_File)) {
  g_Loaded = m_Plugin.get();
  ++g_Loads;
  m_Create = reinterpret_cast<Create>(EntryPoint(kCreate));
  m_Release = reinterpret_cast<Release>(EntryPoint(kRelease));
}

void* PluginLibrary::EntryPoint(const char* name) const {
  void* found = dlsym(m_Plugin.get(), name);
  if (found != nullptr) return found;
  throw LoadFailure("PLUGIN_NO_ENTRY_POINT",
                    fmt::format("{} is not a storage plug-in: no symbol {}", m_File, name));
}

PluginInstance::PluginInstance(PluginLibrary& library) : m_Library(library) {
  unsigned int result = PI::SUCCESS;
  try {
    result = library.m_Create(&m_pPlugin);
  } catch (const std::exception& e) {
    throw Failure(ExitCode::Failed, "PLUGIN_NOT_MADE", "cannot create the plug-in instance",
                  e.what());
  }
  if (result != PI::SUCCESS || m_pPlugin == nullptr) {
    throw LoadFailure("PLUGIN_NOT_MADE", fmt::format("createIf returned {}", result));
  }
  const std::uint32_t version = m_pPlugin->m_InterfaceVersion;
  if (version == kInterfaceVersion) return;
  library.m_Release(&m_pPlugin);
  throw LoadFailure("PLUGIN_WRONG_VERSION",
                    fmt::format("{} has interface version {}, this host requires version {}",
                                library.m_File, version, kInterfaceVersion));
}

PluginInstance::~PluginInstance() {
  m_Library.m_Release(&m_pPlugin);
}

}  // namespace Console
