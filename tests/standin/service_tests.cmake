# Tests of the traffic service stand-in: protocol, replay, generator, HTTP
# and the program itself.
if(TARGET tavo_service)
  tavo_test(tavo_service_tests SOURCES
    service_protocol_test.cpp service_failures_test.cpp service_replay_test.cpp
    service_generator_test.cpp service_http_test.cpp service_program_test.cpp
    LIBS tavo_service)
  add_dependencies(tavo_service_tests tavo-service)
endif()
