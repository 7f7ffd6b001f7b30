# Optimizes by default, because without a build type CMake would not optimize at all.
get_property(CORVANE_HAS_MANY_BUILD_TYPES GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(NOT CMAKE_BUILD_TYPE AND NOT CORVANE_HAS_MANY_BUILD_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "The build type" FORCE)
endif()

# Another SDK or compiler may cause warnings in code that we cannot test.
option(CMAKE_COMPILE_WARNING_AS_ERROR "Treat warnings as errors" ${CORVANE_STANDINS})
