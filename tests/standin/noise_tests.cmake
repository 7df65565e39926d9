# The faults of real feeds laid on generated traffic (tavo-service --generate --noise).
if(TARGET tavo_service)
  tavo_test(tavo_service_noise_tests SOURCES service_noise_test.cpp LIBS tavo_service)
endif()
