# The stand-in simulator and its client library (files sim_* of this folder): their parts alone, and the
# client library against a real tavo-sim process. sim_process.* starts programs and steers tavo-sim; the
# simulator link's tests (tests/sim) and others use it too.
add_library(sim_testsupport STATIC ${CMAKE_CURRENT_LIST_DIR}/sim_process.cpp)
target_link_libraries(sim_testsupport PUBLIC tavo_testsupport nlohmann_json::nlohmann_json PkgConfig::HTTPLIB)
if(TARGET tavo_simstandin AND TARGET tavo_simconnect)
  tavo_test(tavo_simstandin_tests SOURCES ${CMAKE_CURRENT_LIST_DIR}/sim_standin_units_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/sim_client_test.cpp LIBS tavo_simstandin tavo_simconnect sim_testsupport THREADS)
  add_dependencies(tavo_simstandin_tests tavo-sim)
endif()
