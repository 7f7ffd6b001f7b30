// JSON as a tree of our own. The JSON library reads the text, but its tree is not used: that one
// allocates memory while it is destroyed, and ends the process when there is none.
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
  // In the order of the text.
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

// Throws `std::runtime_error` with line and column of what is not JSON. A member that stands twice
// has its last value.
Json ParseJson(const std::string& text);
// The same, but none instead of an exception.
std::optional<Json> TryParseJson(const std::string& text);

// One line, or one line per element with the given indentation. Throws `std::runtime_error` when a
// text is not valid UTF-8.
std::string JsonText(const Json& json);
std::string JsonLines(const Json& json, unsigned int indentation);

}  // namespace CardSim
