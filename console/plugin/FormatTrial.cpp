#include "console/plugin/FormatTrial.h"

#include <dlfcn.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "host/vsl_abstraction.h"

namespace Console {
namespace {

using Objects = std::vector<PI::CObject>;

// The exported function with that name, which guards and records the call. Null if this program
// exports none.
#define EXPORTED(name) \
  reinterpret_cast<decltype(&(name))>(dlsym(RTLD_DEFAULT, #name))  // NOLINT: loader's interface

bool Contains(const std::vector<std::uint64_t>& ids, std::uint64_t id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

std::string TextOf(const PI::CObject& object, std::uint32_t property) {
  for (const PI::CProperty& each : object.m_Properties) {
    if (each.m_PropertyID == property) return each.m_Value.m_String.m_Text;
  }
  return {};
}

// Returns the control device of the drive's adapter, or an empty string.
std::string ControlDevice(IPLUGINAPI& plugin, std::uint64_t drive) {
  Objects objects;
  if (plugin.Execute(PI::CMD_GET_TOPOLOGY, 0, &objects) != PI::SUCCESS) return {};
  std::vector<std::uint64_t> parents;
  for (const PI::CObject& object : objects) {
    if (object.m_ID == drive) parents = object.m_Parents;
  }
  for (const PI::CObject& object : objects) {
    const bool owns = Contains(object.m_Children, drive) || Contains(parents, object.m_ID);
    if (object.m_ObjectType == PI::OBJECT_ADAPTER && owns) {
      return TextOf(object, PI::Property::OS_DEVICE);
    }
  }
  return {};
}

std::optional<int> ParameterOf(const PI::COperation& operation, std::uint32_t name) {
  for (const PI::CProperty& parameter : operation.m_Properties) {
    if (parameter.m_NameID != name) continue;
    if (parameter.m_ValueType == PI::VALUE_TYPE_RANGE) return parameter.m_Value.m_Integer;
    if (parameter.m_ValueType == PI::VALUE_TYPE_CHOICE) return parameter.m_Value.m_Choice.m_Value;
  }
  return std::nullopt;
}

// The values that the trial sets; empty: not set.
struct Request {
  std::optional<int> m_SectorSize;
  std::optional<int> m_Percent;
};

Request RequestOf(const PI::COperation& operation) {
  const bool isCustom = ParameterOf(operation, PI::Property::FORMATTING) == int{PI::Value::CUSTOM};
  Request request;
  request.m_SectorSize = ParameterOf(operation, PI::Property::BLOCK_SIZE);
  if (isCustom) request.m_Percent = ParameterOf(operation, PI::Property::SIZE);
  return request;
}

bool Configure(void* format, const Request& request, vsl_error_record& error) {
  const auto setSector = EXPORTED(vsl_iom_format_set_sector_size_bytes);
  const auto setPercent = EXPORTED(vsl_iom_format_set_size_pct);
  const auto number = [](int value) { return static_cast<std::uint32_t>(value); };
  if (request.m_SectorSize && setSector != nullptr &&
      setSector(format, number(*request.m_SectorSize), &error) != 0) {
    return false;
  }
  return !request.m_Percent || setPercent == nullptr ||
         setPercent(format, number(*request.m_Percent), &error) == 0;
}

bool Try(const std::string& device, const Request& request) {
  const auto open = EXPORTED(vsl_iom_create_by_name);
  const auto create = EXPORTED(vsl_iom_format_create);
  const auto destroy = EXPORTED(vsl_destroy);
  if (open == nullptr || create == nullptr || destroy == nullptr) return true;
  vsl_error_record error = {};
  void* card = nullptr;
  void* format = nullptr;
  if (open(device.c_str(), &card, &error) != 0) return false;
  bool isAccepted = create(card, &format, &error) == 0;
  if (isAccepted) {
    isAccepted = Configure(format, request, error);
    destroy(&format, &error);
  }
  destroy(&card, &error);
  return isAccepted;
}

}  // namespace

std::uint32_t TryFormat(IPLUGINAPI& plugin, std::uint64_t drive, const PI::COperation& operation) {
  const Request request = RequestOf(operation);
  if (!request.m_SectorSize && !request.m_Percent) return PI::SUCCESS;
  const std::string device = ControlDevice(plugin, drive);
  return device.empty() || Try(device, request) ? PI::SUCCESS : PI::ERR_COMMAND_ERROR;
}

}  // namespace Console
