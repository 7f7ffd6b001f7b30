// Strict reading of JSON that people write. Errors are reported with their location, such as
// "cards[0].serial_number: must be a string".
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "cardsim/store/Attributes.h"
#include "cardsim/store/Json.h"

namespace CardSim {

// Throws `std::runtime_error` with "location: reason", as do the functions below.
[[noreturn]] void Reject(const std::string& location, const std::string& why);

// Returns the value of an attribute. Rejects a value of another type and a number out of range.
Value ValueFromJson(const AttributeInfo& info, const Json& json, const std::string& location);

// Return the member with that name. Reject an object without it.
const Json& Member(const Json& object, const char* name, const std::string& location);
std::uint64_t Number(const Json& object, const char* name, const std::string& location,
                     std::uint64_t max = std::numeric_limits<std::uint64_t>::max());
std::string Text(const Json& object, const char* name, const std::string& location);
bool Flag(const Json& object, const char* name, const std::string& location);

// Rejects anything but an object, and the first member whose name is not one of `names`.
void CheckMembers(const Json& object, const std::vector<std::string>& names,
                  const std::string& location);

}  // namespace CardSim
