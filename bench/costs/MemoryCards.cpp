#include "bench/costs/MemoryCards.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include "bench/costs/ProcessorTime.h"
#include "host/vsl_abstraction.h"

namespace CorvaneBench::MemoryCards {
namespace {

#define MEMORY_FIELD(type, name) type name{};
struct CardValues {
  VSL_CARD_ATTRIBUTES(MEMORY_FIELD)
};
struct FormatValues {
  VSL_FORMAT_ATTRIBUTES(MEMORY_FIELD)
};
#undef MEMORY_FIELD

// The handles of a card, its adapter and its format are the addresses of these members, which all
// begin with a pointer to the card.
struct Card {
  struct Tag {
    Card* m_Card;
  };
  Tag m_Handle{this};
  Tag m_Adapter{this};
  Tag m_Format{this};
  std::string m_Path;
  std::string m_Serial;
  CardValues m_Values;
  FormatValues m_FormatValues;
};

std::vector<std::unique_ptr<Card>> g_Cards;
Calls* g_pCalls = nullptr;
double g_ScanBegin = 0;
double g_LastScan = 0;
bool g_TimesScans = false;
bool g_IsScan = false;

Card& CardOf(void* handle) {
  return *static_cast<Card::Tag*>(handle)->m_Card;
}

void Note(void (*repeat)(void*), void* handle) {
  if (g_pCalls != nullptr) g_pCalls->push_back({repeat, handle});
}

vsl_error_record* Error() {
  static vsl_error_record error;
  return &error;
}

constexpr const char* kPathBegin = "/dev/fct";

void Fill(Card& card, int index) {
  card.m_Path = kPathBegin + std::to_string(index);
  card.m_Serial = "FA" + std::to_string(100000000 + index);
  CardValues& values = card.m_Values;
  values.device_path = card.m_Path.c_str();
  values.serial_number = card.m_Serial.c_str();
  values.board_name = "Flash Adapter 785GB";
  values.product_name = "Flash Duo Adapter";
  values.driver_version = "4.3.7 build 1205";
  values.fw_current_version = "8.9.5";
  values.fw_current_major_ver = 8;
  values.fw_current_minor_ver = 9;
  values.fw_current_micro_ver = 5;
  values.fw_current_revision = 116786;
  values.pci_bus = static_cast<std::uint8_t>(index % 256);
  values.pci_device = static_cast<std::uint8_t>(index / 256);
  values.pci_slot_num = 3;
  values.factory_size_bytes = values.size_bytes = 785'000'000'000;
  values.sector_size_bytes = 512;
  values.first_use_ts = values.origin_ts = 1'700'000'000;
  values.reserve_warning_threshold_percent = 10;
  values.reserve_space_pct = values.rated_writes_remaining_percent = 98;
  values.rated_endurance_tbytes = 11'000;
  values.total_physical_bytes_read = values.total_physical_bytes_written = 1'000'000'000'000'000;
  values.temp_internal_deg_c = 52;
  values.temp_internal_warn_deg_c = 78;
  values.temp_setpoint_high_deg_c = 85;
  values.pcie_slot_power_watts = values.power_limit_watts = 25;
  values.iom_state = VSL_STATE_ATTACHED;
  FormatValues& format = card.m_FormatValues;
  format.min_sector_size_bytes = format.sector_size_multiplier = 512;
  format.max_sector_size_bytes = 4096;
  format.size_bytes = format.max_size_bytes = 785'000'000'000;
  format.size_pct = 100;
}

}  // namespace

void Create(int count) {
  g_Cards.clear();
  for (int index = 0; index < count; ++index) {
    g_Cards.push_back(std::make_unique<Card>());
    Fill(*g_Cards.back(), index);
  }
}

void SetWarnings(std::uint64_t mask) {
  for (const auto& card : g_Cards) card->m_Values.current_warnings = mask;
}

void Record(Calls* calls) {
  g_pCalls = calls;
}

void TimeScans(bool on) {
  g_TimesScans = on;
  g_IsScan = false;
}

double LastScanNs() {
  return g_LastScan;
}

}  // namespace CorvaneBench::MemoryCards

using namespace CorvaneBench;
using namespace CorvaneBench::MemoryCards;

#define MEMORY_PAIR(type, name, has, get, values)         \
  bool has(void* handle, vsl_error_record*) {             \
    Note([](void* same) { has(same, Error()); }, handle); \
    return handle != nullptr;                             \
  }                                                       \
  type get(void* handle, vsl_error_record*) {             \
    Note([](void* same) { get(same, Error()); }, handle); \
    return CardOf(handle).values.name;                    \
  }
#define MEMORY_CARD_PAIR(type, name) MEMORY_PAIR(type, name, vsl_has_##name, vsl_##name, m_Values)
#define MEMORY_FORMAT_PAIR(type, name) \
  MEMORY_PAIR(type, name, vsl_iom_format_has_##name, vsl_iom_format_##name, m_FormatValues)
VSL_CARD_ATTRIBUTES(MEMORY_CARD_PAIR)
VSL_FORMAT_ATTRIBUTES(MEMORY_FORMAT_PAIR)

bool vsl_iom_format_has_size_mode(void* format, vsl_error_record*) {
  Note([](void* same) { vsl_iom_format_has_size_mode(same, Error()); }, format);
  return true;
}

// Only a scan calls this function.
std::uint16_t vsl_pci_device_id(void* iom, vsl_error_record*) {
  Note([](void* same) { vsl_pci_device_id(same, Error()); }, iom);
  g_IsScan = g_TimesScans;
  return 0x1003;
}

std::uint32_t vsl_reserve_status(void* iom, vsl_error_record*) {
  Note([](void* same) { vsl_reserve_status(same, Error()); }, iom);
  return 0;
}

vsl_code vsl_init(std::uint64_t, vsl_error_record*) {
  return 0;
}

void vsl_fini(void) {}

bool vsl_iom_iterate(void** iom, std::uint32_t, vsl_error_record*) {
  std::size_t next = 0;
  if (*iom != nullptr) {
    next = static_cast<std::size_t>(std::atoi(CardOf(*iom).m_Path.c_str() + 8)) + 1;
  }
  const bool any = next < g_Cards.size();
  *iom = any ? &g_Cards[next]->m_Handle : nullptr;
  return any;
}

vsl_code vsl_iom_create_by_name(const char* path, void** iom, vsl_error_record*) {
  const auto index = static_cast<std::size_t>(std::atoi(path + 8));
  if (g_TimesScans && index == 0) {
    g_IsScan = false;
    g_ScanBegin = ProcessorNs();
  }
  Card& card = *g_Cards.at(index);
  *iom = &card.m_Handle;
  Note(
      [](void* same) {
        void* created = nullptr;
        vsl_iom_create_by_name(CardOf(same).m_Path.c_str(), &created, Error());
      },
      *iom);
  return 0;
}

vsl_code vsl_open(void* iom, vsl_error_record*) {
  Note([](void* same) { vsl_open(same, Error()); }, iom);
  return 0;
}

vsl_code vsl_close(void* iom, vsl_error_record*) {
  Note([](void* same) { vsl_close(same, Error()); }, iom);
  return 0;
}

vsl_code vsl_destroy(void** handle, vsl_error_record*) {
  Note([](void* same) { vsl_destroy(&same, Error()); }, *handle);
  if (g_IsScan && *handle == &g_Cards.back()->m_Handle) {
    g_LastScan = ProcessorNs() - g_ScanBegin;
    g_IsScan = false;
  }
  return 0;
}

vsl_code vsl_adapter_create(void* iom, void** adapter, vsl_error_record*) {
  Note(
      [](void* same) {
        void* created = nullptr;
        vsl_adapter_create(same, &created, Error());
      },
      iom);
  *adapter = &CardOf(iom).m_Adapter;
  return 0;
}

vsl_code vsl_iom_format_create(void* iom, void** format, vsl_error_record*) {
  Note(
      [](void* same) {
        void* created = nullptr;
        vsl_iom_format_create(same, &created, Error());
      },
      iom);
  *format = &CardOf(iom).m_Format;
  return 0;
}

vsl_code vsl_iom_format_set_size_mode(void* format, std::uint32_t, vsl_error_record*) {
  Note([](void* same) { vsl_iom_format_set_size_mode(same, 11, Error()); }, format);
  return 0;
}

vsl_code vsl_set_beacon_state(void*, std::uint32_t, vsl_error_record*) {
  return 0;
}
