# The suites that run a second time through a service (CORVANE_TEST_SERVICE=1), and the reasons why
# the others do not.
set(THROUGH_SERVICE inspect op format)

set(NOT_THROUGH_SERVICE
  "browser|tests the service itself"
  "cards|starts the plug-in on machines with and without cards"
  "change|compares the calls and configuration files of an in-process plug-in"
  "check|most runs use the test plug-in"
  "client|compares runs with and without a service"
  "completion|client.bats completes with a service"
  "descriptors|limits the descriptors of an in-process plug-in"
  "envelope|already covered by inspect and op"
  "escapes|prints strings of an in-process plug-in"
  "events|uses the test plug-in"
  "explain|needs no plug-in"
  "flood|tests the service itself"
  "forms|already covered by inspect, which reads the same values"
  "hang|uses an in-process plug-in that hangs"
  "help|needs no plug-in"
  "history|changes the database between runs"
  "hooks|tests the service itself"
  "jobs|tests the service itself"
  "journal|tests the service itself"
  "memory|tests the service itself"
  "machine|tests the service itself"
  "man|needs no plug-in"
  "metrics|a service whose plug-in does not start is never ready; client.bats compares metrics"
  "readings|tests the service itself"
  "paging|tests the service itself"
  "prompts|asks before it uses the plug-in; op confirms through the service"
  "reconnect|tests the service itself"
  "rows|the service does not support the rows command"
  "security|tests the service itself"
  "serve|tests the service itself"
  "start|tests the start of an in-process plug-in"
  "status|requires an empty log for each run"
  "stuck|uses an in-process plug-in that hangs"
  "terminal|tests the terminal"
  "trouble|tests failures of an in-process plug-in"
  "trust|tests the file checks before an in-process plug-in is loaded"
  "watch|needs a terminal; client.bats follows events through a service")

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
      message(FATAL_ERROR "${suite}.bats must be listed exactly once in ThroughService.cmake")
    endif()
  endforeach()
endfunction()
