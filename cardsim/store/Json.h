// JSON values. The JSON library parses the text, but its value type is not used: its destructor
// allocates memory, and terminates the process if there is none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "cardsim/store/VariantGuard.h"

namespace CardSim {

class Json {
 public:
  using List = std::vector<Json>;
  // In the order of the text. Each name occurs once.
  using Members = std::vector<std::pair<std::string, Json>>;

  Json();  // null
  ~Json();
  Json(const Json&);
  Json& operator=(const Json&);
  Json(Json&&) noexcept;
  Json& operator=(Json&&) noexcept;
  Json(bool flag) : m_Value(flag) {}
  Json(std::uint64_t number) : m_Value(number) {}
  Json(std::int64_t number) : m_Value(number) {}
  Json(double number) : m_Value(number) {}
  Json(std::string text) : m_Value(std::move(text)) {}
  Json(const char* text) : m_Value(std::string(text)) {}
  Json(List list) : m_Value(std::move(list)) {}
  Json(Members members) : m_Value(std::move(members)) {}

  // The value if it is of that type, else null. Whole numbers are unsigned unless negative.
  template <typename T>
  const T* As() const {
    return std::get_if<T>(&m_Value);
  }
  template <typename T>
  T* As() {
    return std::get_if<T>(&m_Value);
  }

  // The member of that name; null when there is none, or when this is not an object.
  const Json* Find(const char* name) const;

 private:
  friend class JsonWriter;
  std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double, std::string, List,
               Members, VariantGuard>
      m_Value;
};

// Throws `std::runtime_error` with line and column of the first mistake, or if it is nested more
// than 64 levels deep. Of members with the same name, the last value counts.
Json ParseJson(const std::string& text);
// The same; empty instead of an exception.
std::optional<Json> TryParseJson(const std::string& text);

// JSON text in one line, or with one line per element, each level indented by so many spaces.
// Throws `std::runtime_error` if a string is not valid UTF-8.
std::string JsonText(const Json& json);
std::string JsonLines(const Json& json, unsigned int indentation);

}  // namespace CardSim
