# The test files that run a second time with a service, which CORVANE_TEST_SERVICE selects, and why
# the others do not.
set(THROUGH_SERVICE inspect op format)

set(NOT_THROUGH_SERVICE
  "cards|starts the plug-in on machines with and without cards"
  "change|compares the calls and configuration files of a plug-in in this process"
  "check|most runs use a plug-in that behaves oddly"
  "client|compares both ways itself"
  "completion|client.bats completes with a service"
  "descriptors|limits the descriptors of a plug-in in this process"
  "envelope|every command; the same documents as in inspect and op"
  "escapes|shows texts of plug-ins in this process"
  "events|uses a plug-in that behaves oddly"
  "explain|needs no plug-in"
  "forms|formats what inspect reads"
  "hang|uses a plug-in that hangs in this process"
  "help|needs no plug-in"
  "history|writes the database of a command between its runs"
  "hooks|is about the service itself"
  "jobs|is about the service itself"
  "journal|is about the service itself"
  "memory|is about the service itself"
  "machine|is about the service itself"
  "man|needs no plug-in"
  "metrics|some plug-ins do not start, so their service is never ready; client.bats compares metrics"
  "prompts|the questions precede any difference; op confirms through the service"
  "rows|rows are refused with a service"
  "serve|is about the service itself"
  "start|is about how a plug-in starts in this process"
  "status|expects that each run has an empty log"
  "stuck|uses a plug-in that hangs in this process"
  "terminal|is about the terminal"
  "trouble|is about failures of a plug-in in this process"
  "trust|is about files of a plug-in in this process"
  "watch|one screen at a time; client.bats follows events with a service")

# Each test file is in one of the lists.
function(corvane_check_service_lists suites)
  foreach(suite ${suites})
    set(rows ${NOT_THROUGH_SERVICE})
    list(FILTER rows INCLUDE REGEX "^${suite}[|].")
    list(LENGTH rows reasons)
    if(suite IN_LIST THROUGH_SERVICE)
      math(EXPR reasons "${reasons} + 1")
    endif()
    if(NOT reasons EQUAL 1)
      message(FATAL_ERROR "${suite}.bats needs one row in ThroughService.cmake")
    endif()
  endforeach()
endfunction()
