ferrolt_test(supervisor/output ChunkDecoderTest LINKS ferrolt_output ferrolt_text)
ferrolt_test(supervisor/output LogFloodTest LINKS ferrolt_supervisor ferrolt_text)
ferrolt_test(supervisor/output LogThrottleTest LINKS ferrolt_output)
ferrolt_test(supervisor/output OutputReaderTest LINKS ferrolt_output)
set_tests_properties(supervisor/output.LogFloodTest PROPERTIES RUN_SERIAL ON)  # it fills both processors
