#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "cardsim/store/Json.h"

namespace CardSim {
namespace {

// Limits the recursion depth when a document is written or destroyed. State files have five levels.
constexpr std::size_t kMaxDepth = 64;

class Builder : public nlohmann::json::json_sax_t {
 public:
  bool null() override { return Add({}); }
  bool boolean(bool flag) override { return Add(flag); }
  bool number_integer(std::int64_t number) override { return Add(number); }
  bool number_unsigned(std::uint64_t number) override { return Add(number); }
  bool number_float(double number, const std::string&) override { return Add(number); }
  bool string(std::string& text) override { return Add(std::move(text)); }
  bool binary(nlohmann::json::binary_t&) override { return false; }
  bool start_object(std::size_t) override { return Open(Json::Members()); }
  bool end_object() override { return Close(); }
  bool start_array(std::size_t) override { return Open(Json::List()); }
  bool end_array() override { return Close(); }
  bool key(std::string& name) override {
    m_Name = std::move(name);
    return true;
  }
  bool parse_error(std::size_t byte, const std::string&,
                   const nlohmann::json::exception& error) override {
    m_Byte = byte;
    m_IsOutOfRange = dynamic_cast<const nlohmann::json::out_of_range*>(&error) != nullptr;
    return false;
  }

  // Returns whether the text is valid JSON. Rejects NUL, which the JSON library would treat as the
  // end of the text.
  bool Parse(const std::string& text) {
    const std::size_t nul = text.find('\0');
    if (nul == std::string::npos) return nlohmann::json::sax_parse(text, this);
    m_Byte = nul + 1;
    return false;
  }

  Json TakeResult() { return std::move(m_Result); }

  [[noreturn]] void Throw(const std::string& text) const {
    if (m_IsTooDeep) throw std::runtime_error("is nested too deeply");
    if (m_IsOutOfRange) throw std::runtime_error("contains a number that is out of range");
    // The JSON library provides an offset, but editors show line and column.
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(
                                        std::min(m_Byte == 0 ? 0 : m_Byte - 1, text.size()));
    const auto line = 1 + std::count(text.begin(), end, '\n');
    auto begin = end;
    while (begin != text.begin() && begin[-1] != '\n') --begin;
    throw std::runtime_error("line " + std::to_string(line) + ", column " +
                             std::to_string(end - begin + 1) + ": invalid JSON");
  }

 private:
  Json* Place(Json&& value) {
    if (m_Open.empty()) {
      m_Result = std::move(value);
      return &m_Result;
    }
    if (auto* list = m_Open.back()->As<Json::List>()) return &list->emplace_back(std::move(value));
    auto& members = *m_Open.back()->As<Json::Members>();
    for (auto& [name, member] : members) {
      if (name == m_Name) return &(member = std::move(value));
    }
    return &members.emplace_back(std::move(m_Name), std::move(value)).second;
  }

  bool Add(Json&& value) {
    Place(std::move(value));
    return true;
  }

  bool Open(Json&& container) {
    m_IsTooDeep = m_Open.size() >= kMaxDepth;
    if (m_IsTooDeep) return false;
    m_Open.push_back(Place(std::move(container)));
    return true;
  }

  bool Close() {
    m_Open.pop_back();
    return true;
  }

  Json m_Result;
  // The open lists and objects, outermost first. A container does not move while one inside it is
  // open.
  std::vector<Json*> m_Open;
  std::string m_Name;
  std::size_t m_Byte = 0;
  bool m_IsOutOfRange = false;
  bool m_IsTooDeep = false;
};

}  // namespace

Json ParseJson(const std::string& text) {
  Builder builder;
  if (!builder.Parse(text)) builder.Throw(text);
  return builder.TakeResult();
}

std::optional<Json> TryParseJson(const std::string& text) {
  Builder builder;
  if (!builder.Parse(text)) return std::nullopt;
  return builder.TakeResult();
}

}  // namespace CardSim
