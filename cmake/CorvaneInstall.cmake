# Install locations. Programs find the plug-in in the library directory relative to themselves, and
# libraries find each other in their own directory, so that the installation can be moved.
#
# Components: `plugin` for a site with its own host, `host` for the console, the service and the
# host kit, `simulator` for simulated cards, and `development` for headers.
#
# The build tree has the same layout, so binaries are linked with their installed search path.
# Otherwise CMake would pad the path with colons. An empty element in a search path means the
# current directory, where other users may be able to place code.
# Not of type PATH, which would make a value of the command line absolute.
set(CMAKE_INSTALL_LIBDIR lib CACHE STRING "Library directory, relative to the prefix")
include(GNUInstallDirs)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  message(FATAL_ERROR "CMAKE_INSTALL_LIBDIR must be relative to the prefix: ${CMAKE_INSTALL_LIBDIR}")
endif()
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME host)
set(CORVANE_LIBRARY_DIRECTORY ${CMAKE_INSTALL_LIBDIR})
# The simulator has the name of the card vendor's library, so it must not be in a directory that the
# loader searches.
set(CORVANE_SIMULATOR_DIRECTORY ${CORVANE_LIBRARY_DIRECTORY}/corvane/sim)

# corvane_install_library(TARGET COMPONENT [DIRECTORY])
function(corvane_install_library target component)
  set(directory ${CORVANE_LIBRARY_DIRECTORY})
  if(ARGC GREATER 2)
    set(directory ${ARGV2})
    set_target_properties(${target} PROPERTIES
      LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${directory})
  endif()
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS ${target} LIBRARY DESTINATION ${directory} COMPONENT ${component})
endfunction()

# corvane_install_program(TARGET COMPONENT LIBRARY-DIRECTORY)
function(corvane_install_program target component libraries)
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${libraries}" BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS ${target} RUNTIME DESTINATION bin COMPONENT ${component})
endfunction()

# The headers with which a host for the plug-in, or a program that controls simulated cards, is built.
function(corvane_install_headers)
  foreach(directory host hostkit cardsim models orm)
    file(GLOB headers ${CMAKE_SOURCE_DIR}/${directory}/*.h)
    install(FILES ${headers} DESTINATION include/corvane/${directory} COMPONENT development)
  endforeach()
  install(FILES ${CMAKE_SOURCE_DIR}/base/HeldLocks.h DESTINATION include/corvane/base
    COMPONENT development)
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/host/own DESTINATION include/corvane/host
    COMPONENT development FILES_MATCHING PATTERN "*.h")
endfunction()
