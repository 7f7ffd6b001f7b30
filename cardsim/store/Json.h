// JSON values. The JSON library parses the text, but its value type is not used, because the
// destructor allocates memory and terminates the process if memory runs out.
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

  // Returns a pointer to the value if it has type `T`, otherwise null. Integers are unsigned
  // unless negative.
  template <typename T>
  const T* As() const {
    return std::get_if<T>(&m_Value);
  }
  template <typename T>
  T* As() {
    return std::get_if<T>(&m_Value);
  }

  // Returns the member with that name; null if there is none or this is not an object.
  const Json* Find(const char* name) const;

 private:
  friend class JsonWriter;
  std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double, std::string, List,
               Members, VariantGuard>
      m_Value;
};

// Parses JSON text. Throws `std::runtime_error` with the line and column of the first error, or if
// the text is nested more than 64 levels deep. If several members have the same name, the last
// value counts.
Json ParseJson(const std::string& text);
// Like `ParseJson`, but returns std::nullopt for invalid text.
std::optional<Json> TryParseJson(const std::string& text);

// Return JSON text on one line, or with one line per element and each level indented by
// `indentation` spaces. Throws `std::runtime_error` if a string is not valid UTF-8.
std::string JsonText(const Json& json);
std::string JsonLines(const Json& json, unsigned int indentation);

}  // namespace CardSim
