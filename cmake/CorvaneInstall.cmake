# Where installed things lie: the program looks for the plug-in in ../lib beside it, and libraries
# find each other in their own folder, wherever the whole is put.
include(GNUInstallDirs)
set(CORVANE_LIBRARY_FOLDER lib)

function(corvane_install_library target)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${target} LIBRARY DESTINATION ${CORVANE_LIBRARY_FOLDER})
endfunction()

function(corvane_install_program target)
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${CORVANE_LIBRARY_FOLDER}")
  install(TARGETS ${target} RUNTIME DESTINATION bin)
endfunction()
