#include "service/ReadAhead.h"

#include <string_view>

#include "host/vsl_abstraction.h"

// All functions of the card library that are called here are the guarded ones.
namespace Service {
namespace {

// Reads an attribute if the card has it.
using Read = void (*)(void* handle, vsl_error_record* error);

template <auto has, auto read>
void ReadAttribute(void* handle, vsl_error_record* error) {
  if (has(handle, error)) static_cast<void>(read(handle, error));
}

struct Attribute {
  std::string_view m_Name;
  Read m_Read;
};

// The only attribute in the list that is read through an adapter's handle.
constexpr std::string_view kOfAdapter = "power_limit_watts";

#define CARD_ATTRIBUTE(type, name) {#name, ReadAttribute<vsl_has_##name, vsl_##name>},
constexpr Attribute kCardAttributes[] = {VSL_CARD_ATTRIBUTES(CARD_ATTRIBUTE)};
#undef CARD_ATTRIBUTE

#define FORMAT_ATTRIBUTE(type, name) \
  {#name, ReadAttribute<vsl_iom_format_has_##name, vsl_iom_format_##name>},
constexpr Attribute kFormatAttributes[] = {VSL_FORMAT_ATTRIBUTES(FORMAT_ATTRIBUTE)};
#undef FORMAT_ATTRIBUTE

void ReadCard(void* card, vsl_error_record* error) {
  for (const Attribute& each : kCardAttributes) {
    if (each.m_Name != kOfAdapter) each.m_Read(card, error);
  }
  vsl_pci_device_id(card, error);
  ReadAttribute<vsl_has_reserve_space_pct, vsl_reserve_status>(card, error);
}

void ReadAdapter(void* card, vsl_error_record* error) {
  void* adapter = nullptr;
  if (vsl_adapter_create(card, &adapter, error) != 0) return;
  ReadAttribute<vsl_has_power_limit_watts, vsl_power_limit_watts>(adapter, error);
  vsl_destroy(&adapter, error);
}

void ReadFormat(void* card, vsl_error_record* error) {
  void* format = nullptr;
  if (vsl_iom_format_create(card, &format, error) != 0) return;
  for (const Attribute& each : kFormatAttributes) each.m_Read(format, error);
  vsl_iom_format_has_size_mode(format, error);
  vsl_destroy(&format, error);
}

void ReadVolumes(void* card, vsl_error_record* error) {
  void* volume = nullptr;
  while (vsl_vsu_iterate(card, &volume, 1, error)) {
    vsl_has_vsu_state(volume, error);
    vsl_vsu_state(volume, error);
  }
}

}  // namespace

bool ReadAhead(const GuardedHandlePtr& handle) {
  void* const card = CardGuard::Instance().Add(handle);
  vsl_error_record error;
  const bool isOpen = vsl_open(card, &error) == 0 && !handle->m_IsDetached;
  if (isOpen) {
    ReadCard(card, &error);
    ReadAdapter(card, &error);
    ReadFormat(card, &error);
    ReadVolumes(card, &error);
    vsl_close(card, &error);
  }
  CardGuard::Instance().Remove(card);
  handle->m_Volumes.clear();
  return isOpen && handle->m_pCard->Problem().empty();
}

}  // namespace Service
