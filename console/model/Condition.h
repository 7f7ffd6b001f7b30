// A condition to wait for: a state word, or a comparison of a property with a value.
#pragma once

#include <string>
#include <vector>

#include "console/model/Model.h"

namespace Console {

// What a condition requires: that the object exists, so that one of its properties can be compared
// (`Required`), that it does not exist (`Gone`), or only that it exists (`Present`).
enum class Presence { Required, Gone, Present };

class Condition {
 public:
  // Parses a state word, PROP=VALUE, PROP!=VALUE, or PROP and NUMBER with <, <=, > or >=. Throws
  // `Failure` for any other text.
  explicit Condition(const std::string& text);

  // The result of evaluating the condition.
  struct Outcome {
    bool m_IsMet = false;
    std::string m_Seen;     // the current value as `BareText`; "-": unknown
    std::string m_Meaning;  // the same for people: "52 °C", "Detached, Nearly worn out"
  };

  // Compares the property of `object`. Call only if `RequiredPresence` is `Required`. Throws
  // `Failure` if the object does not have the property.
  Outcome Check(const Object& object, bool ascii) const;

  // The condition as given.
  const std::string& Text() const { return m_Text; }
  Presence RequiredPresence() const { return m_Presence; }
  // The property that is compared; empty unless `RequiredPresence` is `Required`.
  const std::string& Property() const { return m_Property; }

 private:
  const std::string m_Text;
  Presence m_Presence = Presence::Required;
  std::string m_Property;
  std::string m_Operator;
  std::string m_Value;
};

// Returns all state words.
std::vector<std::string> ConditionWords();

}  // namespace Console
