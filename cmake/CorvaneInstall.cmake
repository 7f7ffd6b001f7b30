# Where installed things lie: the program looks for the plug-in in ../lib beside it, and libraries
# find each other in their own folder, wherever the whole is put.
#
# The build tree has the same folders, so what is built is linked for its installed place at once.
# Otherwise CMake would make room for that path by colons, and an empty element of a search path is
# the current directory: whoever may write there could have his code run by others.
include(GNUInstallDirs)
set(CORVANE_LIBRARY_FOLDER lib)

function(corvane_install_library target)
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS ${target} LIBRARY DESTINATION ${CORVANE_LIBRARY_FOLDER})
endfunction()

function(corvane_install_program target)
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${CORVANE_LIBRARY_FOLDER}" BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS ${target} RUNTIME DESTINATION bin)
endfunction()
