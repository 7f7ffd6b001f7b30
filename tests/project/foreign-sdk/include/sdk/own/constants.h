// This SDK's own names for the numbers. They are declared differently than in other hosts, and a
// plug-in might use some of the names, too.
#pragma once

namespace PI {

// Named like a plug-in's namespaces, with a different meaning.
struct Event {
  enum Numbers : unsigned short { CTRL_NORMAL = 10980 };
};
class Property;
template <class Kind>
struct ShortName {};
extern const int Value;

// Names that a plug-in has too, with wrong numbers.
constexpr int SUCCESS = -1;
constexpr int ERR_INVALID_COMMAND = -2;
enum OPERATIONS { OP_GET_EVENTS = -3 };
enum class _ERROR : char;
enum class _EVENT_ID : long;
enum class _SEVERITY : short;

}  // namespace PI
