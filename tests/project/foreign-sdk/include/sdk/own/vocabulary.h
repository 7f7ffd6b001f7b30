// This SDK's own names for the numbers. They are declared in another way than those of other hosts,
// and some have a name that a plug-in might use as well.
#pragma once

namespace PI {

// The same words as a plug-in's namespaces, for other things.
struct Event {
  enum Numbers : unsigned short { CTRL_NORMAL = 10980 };
};
class Property;
template <class Kind>
struct ShortName {};
extern const int Value;

// Names that a plug-in has as well, with numbers that would do harm.
constexpr int SUCCESS = -1;
constexpr int ERR_INVALID_COMMAND = -2;
enum OPERATIONS { OP_GET_EVENTS = -3 };
enum class _ERROR : char;
enum class _EVENT_ID : long;
enum class _SEVERITY : short;

}  // namespace PI
