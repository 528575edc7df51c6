ferrolt_test_program(supervisor-output-tests LINKS ferrolt_supervisor ferrolt_text)
ferrolt_test(supervisor/output ChunkDecoderTest COST 20 LONG_UNDER thread)  # it has one thread
foreach(test LogBufferTest LogFloodTest LogThrottleTest OutputReaderTest)
    ferrolt_test(supervisor/output ${test})
endforeach()
set_tests_properties(supervisor/output.LogFloodTest PROPERTIES RUN_SERIAL ON)  # it fills both processors
