// What is waited for: a state of an object, as a word or as a property compared with a value.
#pragma once

#include <string>
#include <vector>

#include "console/model/Model.h"

namespace Console {

// Whether the object is there decides by itself, or its properties do.
enum class Presence { Required, Gone, Present };

class Condition {
 public:
  // One of the words, or PROP=VALUE, PROP!=VALUE, PROP<NUMBER and the like. Throws `Failure`.
  explicit Condition(const std::string& text);

  // What a look at an object told.
  struct Outcome {
    bool m_Holds = false;
    std::string m_Seen;  // bare, "-" for unknown
  };

  // Throws `Failure` when the object has no such property at all.
  Outcome Check(const Object& object) const;

  const std::string& Text() const { return m_Text; }
  Presence Wants() const { return m_Presence; }

 private:
  const std::string m_Text;
  Presence m_Presence = Presence::Required;
  std::string m_Property;
  std::string m_Operator;
  std::string m_Value;
};

// The words that are conditions by themselves.
std::vector<std::string> ConditionWords();

}  // namespace Console
