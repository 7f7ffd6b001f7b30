# Compile and link options of every target. Warnings are errors, and all includes are relative to
# the root of the tree, so that each line shows which layer it includes from.

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH CORVANE_ROOT)

set(CORVANE_WARNINGS
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)

# Hardening against the exploitation of a defect: stack canaries, checked buffer sizes, random
# addresses, and tables that are read-only once loaded. The C library checks sizes only in optimized
# code, and its checks would hide errors from a sanitizer.
include(CheckPIESupported)
check_pie_supported()
set(CORVANE_FORTIFIED $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
set(CORVANE_HARDENING_LINK -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# Sanitizers need the whole tree instrumented: plug-in, kit and simulator.
set(CORVANE_SANITIZE "" CACHE STRING "Sanitizers for the whole tree, as -fsanitize takes them")
set(CORVANE_COVERAGE OFF CACHE BOOL "Count lines and branches")

function(corvane_target target)
  target_compile_options(${target} PRIVATE ${CORVANE_WARNINGS} -fstack-protector-strong)
  target_link_options(${target} PRIVATE ${CORVANE_HARDENING_LINK})
  if(CORVANE_HOST_INCLUDE)
    target_include_directories(${target} BEFORE PRIVATE ${CORVANE_HOST_INCLUDE})
  endif()
  target_include_directories(${target} PRIVATE ${CORVANE_ROOT})
  if(CORVANE_SANITIZE)
    # Complete stacks, so that a report contains the function that a suppression names.
    target_compile_options(${target} PRIVATE -fsanitize=${CORVANE_SANITIZE}
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer
                                             -fno-optimize-sibling-calls)
    target_link_options(${target} PRIVATE -fsanitize=${CORVANE_SANITIZE})
    # The check of an object's type opens a pipe, and reports every object in a process that has no
    # descriptors left.
    if(CORVANE_SANITIZE MATCHES undefined)
      target_compile_options(${target} PRIVATE -fno-sanitize=vptr)
    endif()
  else()
    target_compile_options(${target} PRIVATE
      $<${CORVANE_FORTIFIED}:-U_FORTIFY_SOURCE> $<${CORVANE_FORTIFIED}:-D_FORTIFY_SOURCE=2>)
  endif()
  if(CORVANE_COVERAGE)
    # Atomic counters: threads would corrupt plain ones.
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()

# Shared libraries have no undefined symbols.
function(corvane_shared_library target)
  corvane_target(${target})
  # Clang leaves the sanitizer's run-time symbols of a shared library to the program.
  if(NOT (CORVANE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()
