// The result of a command in every output format, and how it is rendered.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/base/Output.h"
#include "console/plugin/Session.h"
#include "console/render/Table.h"

namespace Console {

using Json = nlohmann::ordered_json;

struct CommandResult {
  Json m_Json;  // json; null: everything has already been written
  const char* m_Items =
      nullptr;    // jsonl: the list in `m_Json` that is written one element per line
  Table m_Table;  // table, tree, tsv
  std::vector<std::string> m_Values;  // value
  std::optional<std::string> m_Text;  // instead of the table, for people
  ExitCode m_Code = ExitCode::Done;
};

// What a JSON document has around a result.
struct Envelope {
  std::string m_Command;
  std::optional<PluginInfo> m_Plugin;
  std::vector<Message> m_Messages;
  ExitCode m_Code = ExitCode::Done;
};

// One of "table", "tree", "tsv", "json", "jsonl", "value", ready to be written.
std::string Render(const CommandResult& result, const std::string& form, const Style& style,
                   const Envelope& envelope);

// The JSON document around a result, in one line or several.
std::string RenderEnvelope(const Json& result, const Envelope& envelope, bool oneLine);

// Adds a value under `name`, and as text under NAME_s if the number is too large for a double.
void PutValue(Json& into, const std::string& name, const Value& value);

// An object with all fields of its kind, unknown ones as null.
Json ObjectJson(const Model& model, const Object& object);

}  // namespace Console
