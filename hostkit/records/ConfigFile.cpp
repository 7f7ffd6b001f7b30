#include "hostkit/ConfigFile.h"

#include <boost/filesystem/path.hpp>

#include "base/TrustedPath.h"
#include "host/PluginInterface.h"
#include "hostkit/Paths.h"
#include "hostkit/records/Files.h"
#include "hostkit/records/IniText.h"

namespace PI {

namespace {

Base::TrustedPath FullPath(const boost::filesystem::path& name) {
  return Base::ResolveTrusted((HostKit::ConfigDirectory() / name.filename()).string());
}

// Reads the file into `text`. A file that another user could have created counts as unreadable. The
// path is checked again after reading, in case the file was replaced in the meantime.
HostKit::FileRead ReadTrusted(const Base::TrustedPath& file, std::string& text) {
  if (!file.m_TrustError.empty()) return HostKit::FileRead::Failed;
  std::string read;
  const HostKit::FileRead result = HostKit::ReadFile(file, read);
  if (!Base::ResolveTrusted(file.m_File).m_TrustError.empty()) return HostKit::FileRead::Failed;
  if (result == HostKit::FileRead::Done) text = std::move(read);
  return result;
}

// Returns `text` with the key set, or an empty string if the value would not read back unchanged: a
// value that the ini format cannot express must not damage the other keys.
std::string SetKey(const std::string& text, const std::string& key, const std::string& value) {
  const std::string edited = HostKit::WithIniValue(text, key, value);
  std::string readBack;
  const bool found = HostKit::FindIniValue(edited, key, readBack) == HostKit::IniLookup::Found;
  return found && readBack == value ? edited : std::string();
}

}  // namespace

CConfigFile::CConfigFile() = default;
CConfigFile::~CConfigFile() = default;

void CConfigFile::SetFileName(const boost::filesystem::path& name) {
  m_FileName = name;
}

std::uint32_t CConfigFile::ReadKeyValue(const std::string& key, std::string& value, int,
                                        int) const {
  if (m_FileName.empty()) return HostKit::RESULT_NO_KEY;
  std::string text;
  const HostKit::FileRead read = ReadTrusted(FullPath(m_FileName), text);
  if (read == HostKit::FileRead::Missing) return HostKit::RESULT_NO_KEY;
  if (read == HostKit::FileRead::Failed) return HostKit::RESULT_UNREADABLE;
  switch (HostKit::FindIniValue(text, key, value)) {
    case HostKit::IniLookup::Found:
      return HostKit::RESULT_OK;
    case HostKit::IniLookup::NoKey:
      return HostKit::RESULT_NO_KEY;
    case HostKit::IniLookup::NotIni:
      break;
  }
  return HostKit::RESULT_UNREADABLE;
}

std::uint32_t CConfigFile::WriteKeyValue(const std::string& key, const std::string& value, int,
                                         int) {
  if (m_FileName.empty()) return HostKit::RESULT_NOT_WRITTEN;
  const Base::TrustedPath file = FullPath(m_FileName);
  if (!file.m_TrustError.empty()) return HostKit::RESULT_NOT_WRITTEN;
  const HostKit::DirectoryLock directory(file.m_File.parent_path());
  if (!directory.IsHeld()) return HostKit::RESULT_NOT_WRITTEN;

  std::string text;
  if (ReadTrusted(file, text) == HostKit::FileRead::Failed) return HostKit::RESULT_NOT_WRITTEN;
  const std::string edited = SetKey(text, key, value);
  const bool written =
      !edited.empty() && HostKit::ReplaceFile(file.m_File.filename().string(), edited, directory);
  return written ? HostKit::RESULT_OK : HostKit::RESULT_NOT_WRITTEN;
}

}  // namespace PI
