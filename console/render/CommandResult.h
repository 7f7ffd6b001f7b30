// The result of a command, and its rendering in all output formats.
#pragma once

#include <cstdint>
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

// The comment on each member names the output formats that use it.
struct CommandResult {
  // json, jsonl. If it is null, jsonl prints nothing: the command has already printed its lines.
  Json m_Json;
  // jsonl: the key of the list in `m_Json` whose elements are printed one per line. If it is null
  // or the list is empty, the whole document is printed on one line.
  const char* m_Items = nullptr;
  Table m_Table;                      // table, tree, tsv
  std::vector<std::string> m_Values;  // value
  std::optional<std::string> m_Text;  // table, tree: printed instead of `m_Table`
  ExitCode m_Code = ExitCode::Done;
  // Whether the command has changed anything; empty for a command that only reads.
  std::optional<bool> m_Changed;
};

// The parts of a JSON document around the result.
struct Envelope {
  std::string m_Command;
  std::optional<PluginInfo> m_Plugin;
  std::vector<Message> m_Messages;
  ExitCode m_Code = ExitCode::Done;
  // When the plug-in reported the objects, in milliseconds since the epoch; 0 if it has not.
  std::uint64_t m_ObservedAt = 0;
  std::optional<bool> m_Changed = std::nullopt;  // null in JSON: only read, or unknown
};

// Renders a result in `format`: "table", "tree", "tsv", "json", "jsonl" or "value". The envelope's
// `m_Changed` is that of the result.
std::string Render(const CommandResult& result, const std::string& format, const Style& style,
                   const Envelope& envelope);

// Renders the JSON document that contains a result, on one line or several.
std::string RenderEnvelope(const Json& result, const Envelope& envelope, bool oneLine);

// Returns a message as it appears in the envelope.
Json MessageJson(const Message& message);

// Adds a value as `name`. If it is an integer that a double may not store exactly, also adds its
// text as NAME_s.
void PutValue(Json& into, const std::string& name, const Value& value);

// Returns the member "would_change" of a change: null without --dry-run.
Json WouldChangeJson(bool dryRun, bool differs);

// Returns a time as RFC 3339 text, or null if it is 0.
Json TimeJson(std::uint64_t milliseconds);

// Returns an object with all fields of its kind; unknown values are null.
Json ObjectJson(const Model& model, const Object& object);
// Returns the id of an object; null if the plug-in does not report the object.
Json IdJson(const Object& object);

}  // namespace Console
