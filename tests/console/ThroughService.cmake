# The suites that run a second time through a service (CORVANE_TEST_SERVICE=1). Their tests that
# require a direct run are skipped with a reason. The text after the name summarizes these tests.
set(THROUGH_SERVICE
  "cards"
  "card_states"
  "change|the test plug-in, and the user's file permissions"
  "changes"
  "check|the test plug-in, and plug-ins that cannot be loaded"
  "descriptors|what the plug-in needs in the same process"
  "escapes|traces, and options that load the plug-in"
  "event_log|runs that load the plug-in and open the log themselves"
  "events|the test plug-in"
  "format"
  "hang|the test plug-in"
  "hung_card|the start of a plug-in in the same process"
  "inspect"
  "locate_led"
  "known_cards|the in-memory database"
  "limits"
  "metrics|plug-ins that cannot be loaded, and the text file"
  "op"
  "output_formats|the test plug-in, and failures without cards"
  "prompts"
  "selectors"
  "rows|databases that a service cannot use"
  "status|the test plug-in, and changes that follow a trace"
  "thresholds"
  "trouble|the test plug-in, and failures of a plug-in in the same process"
  "truth"
  "watch")

# The suites that only run directly, and the reasons.
set(NOT_THROUGH_SERVICE
  "advice|most messages need no plug-in"
  "ansible|starts a service, which the playbook needs"
  "api|tests the service itself"
  "browser|tests the service itself"
  "card_library|runs an installation with and without a service"
  "client|compares runs with and without a service"
  "completion|client.bats completes with a service"
  "damaged_database|starts its own services"
  "envelope|api and the suites above check the documents of a service"
  "errors|most messages need no plug-in"
  "explain|most explanations need no plug-in"
  "flood|tests the service itself"
  "help|needs no plug-in"
  "hooks|tests the service itself"
  "jobs|tests the service itself"
  "journal|tests the service itself"
  "service_state|tests the service itself"
  "service_manager|tests the service itself"
  "man|needs no plug-in"
  "monitoring|tests the service itself"
  "readings|tests the service itself"
  "paging|tests the service itself"
  "reconnect|tests the service itself"
  "restart|tests the service itself"
  "screens|uses services, which answer hundreds of commands faster than direct runs"
  "security|tests the service itself"
  "serve|tests the service itself"
  "session_jobs|tests the service itself"
  "start|tests the start of an in-process plug-in"
  "state|runs each command with and without a service"
  "stop|tests the service itself"
  "stuck|uses an in-process plug-in that hangs"
  "terminal|tests colors, which do not depend on the source of the values"
  "trust|tests the file checks before an in-process plug-in is loaded"
  "users|tests the service itself")

# Requires each suite to be in exactly one of the lists.
function(corvane_check_service_lists suites)
  foreach(suite ${suites})
    set(rows ${THROUGH_SERVICE} ${NOT_THROUGH_SERVICE})
    list(FILTER rows INCLUDE REGEX "^${suite}([|].+)?$")
    list(LENGTH rows count)
    if(NOT count EQUAL 1)
      message(FATAL_ERROR "${suite}.bats must be listed exactly once in tests/console/ThroughService.cmake")
    endif()
  endforeach()
  foreach(row ${NOT_THROUGH_SERVICE})
    if(NOT row MATCHES "[|].")
      message(FATAL_ERROR "${row} has no reason in tests/console/ThroughService.cmake")
    endif()
  endforeach()
endfunction()
