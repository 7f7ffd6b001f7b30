// A condition to wait for: a state word, or a comparison of a property with a value.
#pragma once

#include <string>
#include <vector>

#include "console/model/Model.h"

namespace Console {

// Whether the condition is about the presence of the object or about its properties.
enum class Presence { Required, Gone, Present };

class Condition {
 public:
  // One of the words, or PROP=VALUE, PROP!=VALUE, PROP<NUMBER and the like. Throws `Failure`.
  explicit Condition(const std::string& text);

  // The result of evaluating the condition.
  struct Outcome {
    bool m_Holds = false;
    std::string m_Seen;  // bare, "-" for unknown
  };

  // Throws `Failure` if the object does not have the property.
  Outcome Check(const Object& object) const;

  // The condition as given.
  const std::string& Text() const { return m_Text; }
  // Whether the condition is about an existing object, or about its existence.
  Presence Wants() const { return m_Presence; }

 private:
  const std::string m_Text;
  Presence m_Presence = Presence::Required;
  std::string m_Property;
  std::string m_Operator;
  std::string m_Value;
};

// The state words.
std::vector<std::string> ConditionWords();

}  // namespace Console
