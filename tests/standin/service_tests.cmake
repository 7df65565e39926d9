# Tests of the traffic service stand-in: protocol, failures, replay, generator
# and the program itself (sim_process.* of this folder starts it).
if(TARGET tavo_service)
  tavo_test(tavo_service_tests SOURCES service_protocol_test.cpp service_failures_test.cpp
    service_replay_test.cpp service_generator_test.cpp service_program_test.cpp LIBS tavo_service sim_testsupport THREADS)
  add_dependencies(tavo_service_tests tavo-service)
endif()
