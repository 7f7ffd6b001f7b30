#include "console/plugin/Exports.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gelf.h>
#include <libelf.h>

#include <algorithm>
#include <boost/algorithm/string/split.hpp>
#include <boost/core/demangle.hpp>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "base/Descriptor.h"
#include "console/base/Failure.h"

namespace Console {
namespace {

struct EndElf {
  void operator()(Elf* elf) const { elf_end(elf); }
};

Failure UnreadableFailure(const std::string& file) {
  return Failure(ExitCode::PluginUnusable, "PLUGIN_UNREADABLE", fmt::format("cannot read {}", file),
                 elf_errmsg(-1));
}

bool IsExported(const GElf_Sym& symbol) {
  const int visibility = GELF_ST_VISIBILITY(symbol.st_other);
  return symbol.st_shndx != SHN_UNDEF && GELF_ST_BIND(symbol.st_info) != STB_LOCAL &&
         (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

// Adds the exported symbols of a section, which may consist of several data blocks.
void AddSymbols(Elf* elf, Elf_Scn* section, const GElf_Shdr& header,
                std::vector<std::string>& names) {
  for (Elf_Data* data = elf_getdata(section, nullptr); data != nullptr;
       data = elf_getdata(section, data)) {
    GElf_Sym symbol;
    for (int i = 0; gelf_getsym(data, i, &symbol) != nullptr; ++i) {
      const char* name = elf_strptr(elf, header.sh_link, symbol.st_name);
      if (name != nullptr && IsExported(symbol)) names.push_back(boost::core::demangle(name));
    }
  }
}

void AddSearchPaths(const std::string& list, std::vector<std::string>& paths) {
  if (list.empty()) return;
  std::vector<std::string> parts;
  boost::split(parts, list, [](char character) { return character == ':'; });
  paths.insert(paths.end(), parts.begin(), parts.end());
}

// The segments of a library, including the dynamic segment.
class Segments {
 public:
  explicit Segments(Elf* elf) : m_Elf(elf), m_File(elf_rawfile(elf, &m_Size)) {
    std::size_t count = 0;
    if (elf_getphdrnum(elf, &count) != 0) return;
    m_Headers.resize(count);
    for (std::size_t i = 0; i < count; ++i) gelf_getphdr(elf, static_cast<int>(i), &m_Headers[i]);
  }

  std::vector<GElf_Dyn> DynamicEntries() const {
    std::vector<GElf_Dyn> entries;
    for (const GElf_Phdr& header : m_Headers) {
      if (header.p_type != PT_DYNAMIC) continue;
      Elf_Data* const data = elf_getdata_rawchunk(m_Elf, static_cast<std::int64_t>(header.p_offset),
                                                  header.p_filesz, ELF_T_DYN);
      GElf_Dyn entry;
      for (int i = 0; data != nullptr && gelf_getdyn(data, i, &entry) != nullptr; ++i) {
        if (entry.d_tag == DT_NULL) break;
        entries.push_back(entry);
      }
    }
    return entries;
  }

  // Whether the file contains all segments that the loader maps.
  bool IsComplete() const {
    return std::all_of(m_Headers.begin(), m_Headers.end(), [this](const GElf_Phdr& header) {
      return header.p_type != PT_LOAD || header.p_offset + header.p_filesz <= m_Size;
    });
  }

  // Returns the text at an address, or the part of it that is in the file.
  std::string TextAt(GElf_Addr address) const {
    for (const GElf_Phdr& header : m_Headers) {
      const bool isHere = header.p_type == PT_LOAD && address >= header.p_vaddr &&
                          address - header.p_vaddr < header.p_filesz;
      const std::size_t offset = address - header.p_vaddr + header.p_offset;
      if (!isHere || m_File == nullptr || offset >= m_Size) continue;
      return {m_File + offset, strnlen(m_File + offset, m_Size - offset)};
    }
    return {};
  }

 private:
  Elf* const m_Elf;
  std::size_t m_Size = 0;
  const char* const m_File;
  std::vector<GElf_Phdr> m_Headers;
};

bool IsLibraryName(const GElf_Dyn& entry) {
  return entry.d_tag == DT_NEEDED || entry.d_tag == DT_AUXILIARY || entry.d_tag == DT_FILTER;
}

bool IsSearchPath(const GElf_Dyn& entry) {
  return entry.d_tag == DT_RUNPATH || entry.d_tag == DT_RPATH;
}

// Returns empty if the file cannot be read or is not a library.
std::optional<std::vector<std::string>> ReadSymbols(const std::string& file) {
  elf_version(EV_CURRENT);
  const Base::Descriptor opened = Base::OpenAt(AT_FDCWD, file, O_RDONLY);
  const std::unique_ptr<Elf, EndElf> elf(elf_begin(opened.Get(), ELF_C_READ, nullptr));
  if (elf == nullptr || elf_kind(elf.get()) != ELF_K_ELF) return std::nullopt;
  std::vector<std::string> names;
  Elf_Scn* section = nullptr;
  while ((section = elf_nextscn(elf.get(), section)) != nullptr) {
    GElf_Shdr header;
    const bool read = gelf_getshdr(section, &header) != nullptr;
    if (read && header.sh_type == SHT_DYNSYM) AddSymbols(elf.get(), section, header, names);
  }
  return names;
}

}  // namespace

Dependencies DependenciesOf(const std::string& file) {
  elf_version(EV_CURRENT);
  const Base::Descriptor opened = Base::OpenAt(AT_FDCWD, file, O_RDONLY);
  const std::unique_ptr<Elf, EndElf> elf(elf_begin(opened.Get(), ELF_C_READ, nullptr));
  Dependencies found;
  if (elf == nullptr || elf_kind(elf.get()) != ELF_K_ELF) return found;
  const Segments segments(elf.get());
  const std::vector<GElf_Dyn> entries = segments.DynamicEntries();
  GElf_Addr stringTable = 0;
  for (const GElf_Dyn& entry : entries) {
    if (entry.d_tag == DT_STRTAB) stringTable = entry.d_un.d_ptr;
  }
  for (const GElf_Dyn& entry : entries) {
    if (!IsLibraryName(entry) && !IsSearchPath(entry)) continue;
    const std::string text = segments.TextAt(stringTable + entry.d_un.d_val);
    if (IsSearchPath(entry)) AddSearchPaths(text, found.m_SearchPaths);
    if (IsLibraryName(entry)) found.m_Names.push_back(text);
  }
  return found;
}

bool IsTruncated(const std::string& file) {
  elf_version(EV_CURRENT);
  const Base::Descriptor opened = Base::OpenAt(AT_FDCWD, file, O_RDONLY);
  const std::unique_ptr<Elf, EndElf> elf(elf_begin(opened.Get(), ELF_C_READ, nullptr));
  if (elf == nullptr || elf_kind(elf.get()) != ELF_K_ELF) return false;
  return !Segments(elf.get()).IsComplete();
}

std::vector<std::string> ExportedSymbols(const std::string& file) {
  auto names = ReadSymbols(file);
  if (!names) throw UnreadableFailure(file);
  std::sort(names->begin(), names->end());
  return *std::move(names);
}

bool ExportsSymbol(const std::string& file, const std::string& name) {
  const auto names = ReadSymbols(file);
  return names && std::find(names->begin(), names->end(), name) != names->end();
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
