# Compile and link options for all targets. Includes are relative to the root of the tree, so that
# each include shows its layer.

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH CORVANE_ROOT)

set(CORVANE_WARNINGS
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)

# Hardening: stack protector, _FORTIFY_SOURCE, PIE and full RELRO. _FORTIFY_SOURCE is limited to
# optimized builds, where it has an effect, and to builds without sanitizers, because it would hide
# errors from them.
include(CheckPIESupported)
check_pie_supported()
set(CORVANE_FORTIFIED $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
set(CORVANE_HARDENING_LINK -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# Sanitizers require that the plug-in, the host kit and the simulator are all instrumented.
set(CORVANE_SANITIZE "" CACHE STRING "Sanitizers for all targets, as a value for -fsanitize")
set(CORVANE_COVERAGE OFF CACHE BOOL "Instrument all targets for line and branch coverage")

# Aborts a program that holds a lock during a call that can block (base/HeldLocks.h).
string(COMPARE EQUAL "${CMAKE_BUILD_TYPE}" Debug CORVANE_IS_DEBUG)
set(CORVANE_CHECK_LOCKS ${CORVANE_IS_DEBUG} CACHE BOOL "Check that no lock is held while blocking")

function(corvane_target target)
  target_compile_options(${target} PRIVATE ${CORVANE_WARNINGS} -fstack-protector-strong)
  target_link_options(${target} PRIVATE ${CORVANE_HARDENING_LINK})
  if(CORVANE_STANDINS)
    target_include_directories(${target} PRIVATE ${CORVANE_ROOT})
  else()
    target_include_directories(${target} PRIVATE ${CORVANE_SITE_INCLUDE})
    target_include_directories(${target} SYSTEM PRIVATE ${CORVANE_HOST_INCLUDE})
  endif()
  if(CORVANE_CHECK_LOCKS)
    target_compile_definitions(${target} PRIVATE CORVANE_CHECK_LOCKS)
  endif()
  if(CORVANE_SANITIZE)
    # Keeps call stacks complete, so that a report contains the function named by a suppression.
    target_compile_options(${target} PRIVATE -fsanitize=${CORVANE_SANITIZE}
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer
                                             -fno-optimize-sibling-calls)
    target_link_options(${target} PRIVATE -fsanitize=${CORVANE_SANITIZE})
    # The vptr check opens a pipe. In a process that has no descriptors left, it reports an error
    # for every object.
    if(CORVANE_SANITIZE MATCHES undefined)
      target_compile_options(${target} PRIVATE -fno-sanitize=vptr)
    endif()
  else()
    target_compile_options(${target} PRIVATE
      $<${CORVANE_FORTIFIED}:-U_FORTIFY_SOURCE> $<${CORVANE_FORTIFIED}:-D_FORTIFY_SOURCE=2>)
  endif()
  if(CORVANE_COVERAGE)
    # Use atomic counters, because threads would corrupt plain ones.
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()

# Adds the options for shared libraries, which must not have undefined symbols.
function(corvane_shared_library target)
  corvane_target(${target})
  # With clang, a shared library gets the sanitizer's run-time symbols from the program.
  if(NOT (CORVANE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()
