#include "cardsim/store/FunctionNames.h"

#include <algorithm>

#include "cardsim/cardsim.h"
#include "cardsim/store/Suggest.h"
#include "host/vsl_abstraction.h"

namespace CardSim {

const std::vector<std::string>& FailableFunctions() {
#define CARDSIM_PAIR(type, name) "vsl_has_" #name, "vsl_" #name,
#define CARDSIM_FORMAT_PAIR(type, name) "vsl_iom_format_has_" #name, "vsl_iom_format_" #name,
  // Never destroyed: threads may still call while the process exits.
  static const auto* names = new std::vector<std::string>{
      VSL_CARD_ATTRIBUTES(CARDSIM_PAIR) VSL_FORMAT_ATTRIBUTES(CARDSIM_FORMAT_PAIR) "vsl_init",
      "vsl_iom_iterate",
      "vsl_iom_create_by_name",
      "vsl_open",
      "vsl_close",
      "vsl_destroy",
      "vsl_adapter_create",
      "vsl_pci_device_id",
      "vsl_reserve_status",
      "vsl_iom_format_has_size_mode",
      "vsl_set_beacon_state",
      "vsl_vsu_iterate",
      "vsl_vsu_state",
      "vsl_has_vsu_state",
      "vsl_set_vsu_state",
      "vsl_iom_attach_create",
      "vsl_iom_detach_create",
      "vsl_iom_detach_set_force",
      "vsl_iom_format_create",
      "vsl_iom_format_set_size_mode",
      "vsl_iom_format_set_size_bytes",
      "vsl_iom_format_set_size_pct",
      "vsl_iom_format_set_sector_size_bytes",
      "vsl_op_start",
      "vsl_op_wait_for_result"};
#undef CARDSIM_FORMAT_PAIR
#undef CARDSIM_PAIR
  return *names;
}

void CheckFunction(const std::string& function) {
  const auto& names = FailableFunctions();
  if (std::find(names.begin(), names.end(), function) != names.end()) return;
  if (function == "vsl_fini") throw UnknownName("vsl_fini has no result and cannot fail");
  throw UnknownName("unknown function " + function + DidYouMean(function, names));
}

void CheckCardFunction(const std::string& function) {
  CheckFunction(function);
  if (function == "vsl_init" || function == "vsl_iom_iterate") {
    throw UnknownName(function + " does not act on a single card");
  }
}

}  // namespace CardSim
