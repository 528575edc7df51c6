ferrolt_test_program(platform-tests LINKS ferrolt_platform ferrolt_paths ferrolt_test_images)
target_include_directories(platform-tests PRIVATE ${PROJECT_SOURCE_DIR}/platform/qt)
foreach(test MainQueueTest PipeReaderTest PortProbeSignalTest ProcessSetupTest ProcessTest ProgramFileTest QuitSignalsTest
        RemoveTreeTest SettingsStoreTest SystemTimeTest WorkQueueTest)
    ferrolt_test(platform ${test})
endforeach()
ferrolt_test(platform SingleInstanceTest COST 20)

# They put functions of their own in place of the C library's, for all of their program.
set(alone FileReplacementTest PortProbeTest)
if(NOT APPLE)
    ferrolt_test(platform RefusedCallsTest)  # seccomp
    ferrolt_test(platform WidenPipeTest)
    # macOS's vfork() and waitid(), and its /proc
    list(APPEND alone ForkedChildTest StoppedChildTest VanishingProcessTest)
endif()
foreach(test ${alone})
    ferrolt_test_program(${test} LINKS ferrolt_platform)
    ferrolt_test(platform ${test} PROGRAM ${test})
endforeach()
