// A plug-in as a row of the host's database.
#pragma once

#include "models/FieldsMap.h"

// Type, name and default value of each field, in order of declaration.
// clang-format off
#define PLUGIN_FIELDS(X) \
  X(int, id, null_int) \
  X(std::string, apiVersion, null_text) \
  X(unsigned long, objectId, null_ulong) \
  X(std::string, pluginName, null_text) \
  X(int, pollInterval, null_int) \
  X(std::string, pluginState, null_text) \
  X(int, instanceNumber, null_int) \
  X(int, processNumber, null_int) \
  X(std::string, moduleId, null_text) \
  X(std::string, vendor, null_text) \
  X(std::string, pluginVersion, null_text)
// clang-format on

namespace RaidDataModels {

struct CORVANE_API Plugin {
  PLUGIN_FIELDS(DB_MODEL_FIELD)
};

}  // namespace RaidDataModels
