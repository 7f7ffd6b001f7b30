# Install locations: the program finds the plug-in in ../lib relative to itself, and libraries find
# each other in their own directory, wherever the installation is moved.
#
# The build tree has the same directories, so binaries are linked with their installed search path at
# once. Otherwise CMake would pad that path with colons, and an empty element of a search path means
# the current directory: anyone who may write there could have code run by other users.
include(GNUInstallDirs)
set(CORVANE_LIBRARY_DIRECTORY lib)

function(corvane_install_library target)
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS ${target} LIBRARY DESTINATION ${CORVANE_LIBRARY_DIRECTORY})
endfunction()

function(corvane_install_program target)
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${CORVANE_LIBRARY_DIRECTORY}" BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS ${target} RUNTIME DESTINATION bin)
endfunction()
