#include "console/plugin/Exports.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gelf.h>
#include <libelf.h>
#include <unistd.h>

#include <algorithm>
#include <boost/core/demangle.hpp>
#include <memory>
#include <sstream>

#include "console/base/Failure.h"

namespace Console {
namespace {

struct EndElf {
  void operator()(Elf* elf) const { elf_end(elf); }
};

class File {
 public:
  explicit File(const std::string& name) : m_Descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~File() {
    if (m_Descriptor >= 0) close(m_Descriptor);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  const int m_Descriptor;
};

Failure UnreadableFailure(const std::string& file) {
  return Failure(ExitCode::PluginUnfit, "PLUGIN_UNREADABLE", fmt::format("reading {}", file),
                 elf_errmsg(-1));
}

bool IsShown(const GElf_Sym& symbol) {
  const int visibility = GELF_ST_VISIBILITY(symbol.st_other);
  return symbol.st_shndx != SHN_UNDEF && GELF_ST_BIND(symbol.st_info) != STB_LOCAL &&
         (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

// A section may come in several blocks of data.
void AddSymbols(Elf* elf, Elf_Scn* section, const GElf_Shdr& header,
                std::vector<std::string>& names) {
  for (Elf_Data* data = elf_getdata(section, nullptr); data != nullptr;
       data = elf_getdata(section, data)) {
    GElf_Sym symbol;
    for (int i = 0; gelf_getsym(data, i, &symbol) != nullptr; ++i) {
      const char* name = elf_strptr(elf, header.sh_link, symbol.st_name);
      if (name != nullptr && IsShown(symbol)) names.push_back(boost::core::demangle(name));
    }
  }
}

void AddSearchPaths(const std::string& list, std::vector<std::string>& paths) {
  std::istringstream rest(list);
  for (std::string path; std::getline(rest, path, ':');) {
    if (!path.empty()) paths.push_back(path);
  }
}

void AddDependencies(Elf* elf, Elf_Scn* section, const GElf_Shdr& header, Dependencies& found) {
  Elf_Data* const data = elf_getdata(section, nullptr);
  GElf_Dyn entry;
  for (int i = 0; data != nullptr && gelf_getdyn(data, i, &entry) != nullptr; ++i) {
    const bool isPath = entry.d_tag == DT_RUNPATH || entry.d_tag == DT_RPATH;
    if (entry.d_tag != DT_NEEDED && !isPath) continue;
    const char* text = elf_strptr(elf, header.sh_link, entry.d_un.d_val);
    if (text == nullptr) continue;
    if (isPath) {
      AddSearchPaths(text, found.m_SearchPaths);
    } else {
      found.m_Names.emplace_back(text);
    }
  }
}

}  // namespace

Dependencies DependenciesOf(const std::string& file) {
  elf_version(EV_CURRENT);
  const File opened(file);
  const std::unique_ptr<Elf, EndElf> elf(elf_begin(opened.m_Descriptor, ELF_C_READ, nullptr));
  Dependencies found;
  if (elf == nullptr || elf_kind(elf.get()) != ELF_K_ELF) return found;
  Elf_Scn* section = nullptr;
  while ((section = elf_nextscn(elf.get(), section)) != nullptr) {
    GElf_Shdr header;
    const bool read = gelf_getshdr(section, &header) != nullptr;
    if (read && header.sh_type == SHT_DYNAMIC) AddDependencies(elf.get(), section, header, found);
  }
  return found;
}

std::vector<std::string> ExportedSymbols(const std::string& file) {
  elf_version(EV_CURRENT);
  const File opened(file);
  const std::unique_ptr<Elf, EndElf> elf(elf_begin(opened.m_Descriptor, ELF_C_READ, nullptr));
  if (elf == nullptr || elf_kind(elf.get()) != ELF_K_ELF) throw UnreadableFailure(file);
  std::vector<std::string> names;
  Elf_Scn* section = nullptr;
  while ((section = elf_nextscn(elf.get(), section)) != nullptr) {
    GElf_Shdr header;
    const bool read = gelf_getshdr(section, &header) != nullptr;
    if (read && header.sh_type == SHT_DYNSYM) AddSymbols(elf.get(), section, header, names);
  }
  std::sort(names.begin(), names.end());
  return names;
}

const std::vector<std::string>& ExpectedSymbols() {
  static const std::vector<std::string> names = {
      "createIf",
      "releaseIf",
      "NAMESPACE_Corvane::ErrorMsgList",
      "NAMESPACE_Corvane::MBX_MODULE_INFO_Corvane",
      "NAMESPACE_Corvane::NLS::m_LngFile",
      "NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL",
  };
  return names;
}

}  // namespace Console
