# Checks that a build without the open replacements has everything that it needs from the host SDK
# and the card vendor.
set(CORVANE_SDK_HEADERS PluginInterface.h Toolkit.h Database.h vsl_abstraction.h)

foreach(variable CORVANE_HOST_INCLUDE CORVANE_HOST_LIBRARIES CORVANE_CARD_LIBRARY)
  if(NOT ${variable})
    message(FATAL_ERROR "CORVANE_STANDINS=OFF requires ${variable}; see docs/another-host.md")
  endif()
endforeach()
set(missing "")
foreach(header ${CORVANE_SDK_HEADERS})
  if(NOT EXISTS ${CORVANE_HOST_INCLUDE}/host/${header})
    list(APPEND missing ${CORVANE_HOST_INCLUDE}/host/${header})
  endif()
endforeach()
if(missing)
  list(JOIN missing "\n  " missing)
  message(FATAL_ERROR "The host SDK lacks these headers, which docs/another-host.md describes:\n  ${missing}")
endif()
foreach(library ${CORVANE_HOST_LIBRARIES} ${CORVANE_CARD_LIBRARY})
  if(IS_ABSOLUTE ${library} AND NOT EXISTS ${library})
    message(FATAL_ERROR "The library does not exist: ${library}")
  endif()
endforeach()

# Our own headers in host/ must not be found, because a header of ours between those of the SDK
# would compile and then crash. The plug-in needs only these directories.
set(CORVANE_SITE_INCLUDE ${CMAKE_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${CORVANE_SITE_INCLUDE})
foreach(directory Corvane models orm)
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${directory} ${CORVANE_SITE_INCLUDE}/${directory} SYMBOLIC)
endforeach()
