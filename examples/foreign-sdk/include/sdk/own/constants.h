// This SDK's own constants. Their declarations differ from those of other hosts, and some names may
// collide with a plug-in's.
#pragma once

namespace PI {

// Same names as namespaces in a plug-in.
struct Event {
  enum Numbers : unsigned short { CTRL_NORMAL = 10980 };
};
class Property;
template <class Kind>
struct ShortName {};
extern const int Value;

// Names that a plug-in also defines, with wrong values.
constexpr int SUCCESS = -1;
constexpr int ERR_INVALID_COMMAND = -2;
enum OPERATIONS { OP_GET_EVENTS = -3 };
enum class _ERROR : char;
enum class _EVENT_ID : long;
enum class _SEVERITY : short;

}  // namespace PI
