#include "cardsim/store/Json.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace CardSim {
namespace {

// Formats any value except a list or an object.
template <typename T>
std::string ScalarText(const T& value) {
  try {
    return nlohmann::json(value).dump();
  } catch (const nlohmann::json::exception&) {
    throw std::runtime_error("a string is not valid UTF-8 and cannot be saved");
  }
}

}  // namespace

class JsonWriter {
 public:
  // Without an indentation, writes a single line.
  explicit JsonWriter(std::optional<unsigned int> indentation) : m_Indentation(indentation) {}

  void Write(const Json& json, unsigned int depth) {
    std::visit([&](const auto& value) { WriteValue(value, depth); }, json.m_Value);
  }

  std::string TakeText() { return std::move(m_Text); }

 private:
  void WriteValue(std::monostate, unsigned int) { m_Text += "null"; }
  void WriteValue(const VariantGuard&, unsigned int) {}

  template <typename T>
  void WriteValue(const T& scalar, unsigned int) {
    m_Text += ScalarText(scalar);
  }

  void WriteValue(const Json::List& list, unsigned int depth) {
    WriteParts('[', ']', list, depth, [&](const Json& part) { Write(part, depth + 1); });
  }

  void WriteValue(const Json::Members& members, unsigned int depth) {
    WriteParts('{', '}', members, depth, [&](const auto& part) {
      m_Text += ScalarText(part.first) + (m_Indentation ? ": " : ":");
      Write(part.second, depth + 1);
    });
  }

  template <typename Parts, typename WritePart>
  void WriteParts(char open, char close, const Parts& parts, unsigned int depth,
                  WritePart writePart) {
    m_Text += open;
    bool first = true;
    for (const auto& part : parts) {
      if (!first) m_Text += ',';
      first = false;
      BreakLine(depth + 1);
      writePart(part);
    }
    if (!first) BreakLine(depth);
    m_Text += close;
  }

  void BreakLine(unsigned int depth) {
    if (!m_Indentation) return;
    m_Text += '\n';
    m_Text.append(std::size_t{depth} * *m_Indentation, ' ');
  }

  const std::optional<unsigned int> m_Indentation;
  std::string m_Text;
};

// Not inline: if g++ 12 sees that a new value is destroyed, it warns about alternatives that the
// value never held.
Json::Json() = default;
Json::~Json() = default;
Json::Json(const Json&) = default;
Json& Json::operator=(const Json&) = default;
Json::Json(Json&&) noexcept = default;
Json& Json::operator=(Json&&) noexcept = default;

const Json* Json::Find(const char* name) const {
  const auto* members = As<Members>();
  if (members == nullptr) return nullptr;
  for (const auto& [known, value] : *members) {
    if (known == name) return &value;
  }
  return nullptr;
}

std::string JsonText(const Json& json) {
  JsonWriter writer(std::nullopt);
  writer.Write(json, 0);
  return writer.TakeText();
}

std::string JsonLines(const Json& json, unsigned int indentation) {
  JsonWriter writer(indentation);
  writer.Write(json, 0);
  return writer.TakeText();
}

}  // namespace CardSim
