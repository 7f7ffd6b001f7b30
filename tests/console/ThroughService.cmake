# The suites that run a second time through a service (CORVANE_TEST_SERVICE=1), and the reasons why
# the others do not.
set(THROUGH_SERVICE inspect op format)

set(NOT_THROUGH_SERVICE
  "cards|starts the plug-in on machines with and without cards"
  "change|compares the calls and configuration files of a plug-in in this process"
  "check|most runs use the test plug-in"
  "client|compares runs with and without a service"
  "completion|client.bats completes with a service"
  "descriptors|limits the descriptors of a plug-in in this process"
  "envelope|prints the same documents as inspect and op"
  "escapes|prints texts of a plug-in in this process"
  "events|uses the test plug-in"
  "explain|needs no plug-in"
  "forms|formats the values that inspect reads"
  "hang|uses a plug-in that hangs in this process"
  "help|needs no plug-in"
  "history|changes the database between runs"
  "hooks|tests the service itself"
  "jobs|tests the service itself"
  "journal|tests the service itself"
  "memory|tests the service itself"
  "machine|tests the service itself"
  "man|needs no plug-in"
  "metrics|a service whose plug-in does not start is never ready; client.bats compares metrics"
  "prompts|asks before it uses the plug-in; op confirms through the service"
  "rows|a service refuses the command"
  "serve|tests the service itself"
  "start|tests how a plug-in starts in this process"
  "status|requires an empty log for each run"
  "stuck|uses a plug-in that hangs in this process"
  "terminal|tests the terminal"
  "trouble|tests failures of a plug-in in this process"
  "trust|tests the files of a plug-in in this process"
  "watch|needs the terminal; client.bats follows events through a service")

# Requires each suite to be in exactly one of the lists.
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
