# Install locations. Programs find the plug-in in ../lib relative to themselves, and libraries find
# each other in their own directory, so that the installation can be moved.
#
# The build tree has the same layout, so binaries are linked with their installed search path.
# Otherwise CMake would pad the path with colons. An empty element in a search path means the
# current directory, where other users may be able to place code.
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
