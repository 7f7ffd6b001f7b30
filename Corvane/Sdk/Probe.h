// Checks whether headers of a host SDK declare what the plug-in uses, and reports each difference
// as a sentence.
//
// A missing name must not be a compiler error of its own, so `CorvaneStandIns` contains a stand-in
// for each name. The checks look names up inside the SDK's namespaces, where a declaration of the
// SDK hides the stand-in; a global function is preferred because its stand-in accepts anything.
// Checks of a missing type pass, because the row of the type itself reports it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace CorvaneSdk {

// The base class of stand-ins, and the result of stand-ins for functions.
struct Missing {};

template <class T, class = void>
struct IsComplete : std::false_type {};
template <class T>
struct IsComplete<T, std::void_t<decltype(sizeof(T))>> : std::true_type {};

// Whether the SDK defines the type; a declaration is not enough.
template <class T>
constexpr bool IsDefined() {
  if constexpr (IsComplete<T>::value) {
    return !std::is_base_of_v<Missing, T>;
  } else {
    return false;
  }
}

// Whether `probe`, a generic lambda that returns a `std::bool_constant`, can be called with a `T`
// and returns true.
template <class T, class Probe>
constexpr bool Holds(Probe) {
  if constexpr (!IsDefined<T>()) {
    return true;
  } else if constexpr (std::is_invocable_v<Probe, T&>) {
    return std::invoke_result_t<Probe, T&>::value;
  } else {
    return false;
  }
}

// Whether a `T` can be constructed from `Arguments`.
template <class T, class... Arguments>
constexpr bool CanMake() {
  if constexpr (IsDefined<T>()) {
    return std::is_constructible_v<T, Arguments...>;
  } else {
    return true;
  }
}

// The type of rows about functions that are not members.
struct Anywhere {};

// A value for expressions that are not evaluated.
template <class T>
T An();

// Converts to integers of at least `size` bytes, so that a call does not narrow the argument.
template <std::size_t size>
struct Number {
  template <class T, std::enable_if_t<std::is_integral_v<T> && (sizeof(T) >= size), int> = 0>
  operator T() const;
};

// Kinds of values. `Matches` is instantiated with the type of a member or of a result.
struct IsAnything {
  template <class T>
  static constexpr bool Matches() {
    return !std::is_same_v<T, Missing>;
  }
};
template <std::size_t size, bool isSigned>
struct IsInteger {
  template <class T>
  static constexpr bool Matches() {
    return std::is_integral_v<T> && !std::is_same_v<T, bool> && sizeof(T) == size &&
           std::is_signed_v<T> == isSigned;
  }
};
using IsInt32 = IsInteger<4, true>;
using IsUint8 = IsInteger<1, false>;
using IsUint16 = IsInteger<2, false>;
using IsUint32 = IsInteger<4, false>;
using IsUint64 = IsInteger<8, false>;
// An integer or an enumeration; the plug-in converts it from and to 32-bit numbers.
struct IsNumber {
  template <class T>
  static constexpr bool Matches() {
    return (std::is_integral_v<T> || std::is_enum_v<T>)&&sizeof(T) == 4;
  }
};
template <class To>
struct ConvertsTo {
  template <class T>
  static constexpr bool Matches() {
    return std::is_convertible_v<T, To>;
  }
};
template <class Expected>
struct IsSame {
  template <class T>
  static constexpr bool Matches() {
    return std::is_same_v<T, Expected>;
  }
};
// A container with elements of a kind, which the plug-in fills with `push_back`.
template <class Kind>
struct IsListOf {
  template <class T, class = typename T::value_type,
            class = decltype(An<T&>().push_back(An<const typename T::value_type&>()))>
  static constexpr bool Test(int) {
    return Kind::template Matches<typename T::value_type>();
  }
  template <class T>
  static constexpr bool Test(...) {
    return false;
  }
  template <class T>
  static constexpr bool Matches() {
    return Test<T>(0);
  }
};

// A map that the plug-in indexes with strings.
struct IsMap {
  template <class T>
  static constexpr bool Matches() {
    return std::is_same_v<typename T::key_type, std::string>;
  }
};

// Finds the overload of a member function with exactly these parameters.
template <class... Parameters>
struct Taking {
  template <class C, class Result>
  static std::true_type Find(Result (C::*)(Parameters...));
  template <class C, class Result>
  static std::true_type Find(Result (C::*)(Parameters...) const);
};

}  // namespace CorvaneSdk

// A row of the checks: the kind and the description of the expression are the last two arguments,
// or one of the pairs below. `sdk` is an object of the type.
#define SDK_EXPRESSION(...) SDK_EXPRESSION_ROW(__VA_ARGS__)
#define SDK_EXPRESSION_ROW(type, expression, name, kind, words)                                  \
  static_assert(                                                                                 \
      ::CorvaneSdk::Holds<type>(                                                                 \
          []([[maybe_unused]] auto& sdk)                                                         \
              -> std::bool_constant<                                                             \
                  kind::template Matches<std::decay_t<decltype(expression)>>()> { return {}; }), \
      name " " words)

// The SDK defines a type.
#define SDK_TYPE(scope, type) \
  static_assert(::CorvaneSdk::IsDefined<type>(), scope "::" #type " must be defined")
// A type has a public data member of a kind.
#define SDK_FIELD(scope, type, field, ...) \
  SDK_EXPRESSION(type, sdk.field, scope "::" #type "::" #field, __VA_ARGS__)
// A type has a public member function that can be called like this.
#define SDK_CALL(scope, type, signature, call, ...) \
  SDK_EXPRESSION(type, sdk.call, scope "::" #type "::" signature, __VA_ARGS__)
// A type has a public member function with exactly these parameters.
#define SDK_OVERLOAD(scope, type, function, ...)                                                  \
  static_assert(                                                                                  \
      ::CorvaneSdk::Holds<type>([]([[maybe_unused]] auto& sdk)                                    \
                                    -> decltype(::CorvaneSdk::Taking<__VA_ARGS__>::Find(          \
                                        &std::decay_t<decltype(sdk)>::function)) { return {}; }), \
      scope "::" #type "::" #function "(" #__VA_ARGS__ ") must exist")
// A type has a public constructor for these arguments, or without arguments.
#define SDK_MAKE(scope, type, ...)                          \
  static_assert(::CorvaneSdk::CanMake<type, __VA_ARGS__>(), \
                scope "::" #type "(" #__VA_ARGS__ ") must be a public constructor")
#define SDK_DEFAULT(scope, type) \
  static_assert(::CorvaneSdk::CanMake<type>(), scope "::" #type "() must be a public constructor")
// A function, found without a type, can be called like this.
#define SDK_FUNCTION(...) SDK_EXPRESSION(::CorvaneSdk::Anywhere, __VA_ARGS__)

// Pairs of a kind and its description.
#define SDK_CALLABLE ::CorvaneSdk::IsAnything, "must exist and accept these arguments"
#define SDK_TRUTH ::CorvaneSdk::ConvertsTo<bool>, "must exist and return a bool"
#define SDK_STATUS ::CorvaneSdk::ConvertsTo<int>, "must exist and return 1 on success"
#define SDK_WAIT ::CorvaneSdk::IsUint32, "must exist and return an unsigned 32-bit integer"
#define SDK_NUMBER ::CorvaneSdk::IsNumber, "must be a 32-bit integer or enumeration"
#define SDK_BOOL ::CorvaneSdk::IsSame<bool>, "must be a bool"
#define SDK_FLOAT ::CorvaneSdk::IsSame<float>, "must be a float"
#define SDK_TEXT ::CorvaneSdk::IsSame<std::string>, "must be a std::string"
#define SDK_C_STRING ::CorvaneSdk::IsSame<const char*>, "must be a const char*"
#define SDK_INT32 ::CorvaneSdk::IsInt32, "must be a signed 32-bit integer"
#define SDK_UINT8 ::CorvaneSdk::IsUint8, "must be an unsigned 8-bit integer"
#define SDK_UINT16 ::CorvaneSdk::IsUint16, "must be an unsigned 16-bit integer"
#define SDK_UINT32 ::CorvaneSdk::IsUint32, "must be an unsigned 32-bit integer"
#define SDK_UINT64 ::CorvaneSdk::IsUint64, "must be an unsigned 64-bit integer"
#define SDK_UINT64_LIST \
  ::CorvaneSdk::IsListOf<::CorvaneSdk::IsUint64>, "must be a vector of unsigned 64-bit integers"
