ferrolt_test_program(supervisor-tests LINKS ferrolt_supervisor ferrolt_config ferrolt_test_installation
    SOURCES supervisor/walk/LauncherRules.cpp supervisor/walk/Walk.cpp supervisor/walk/WalkDownloads.cpp)
foreach(test AppVarsFatalErrorTest AppVarsStarvedTest AppVarsTest)
    ferrolt_test(supervisor ${test})
endforeach()
ferrolt_test(supervisor AppVarsStartTest OWN_NETWORK COST 10)
set_tests_properties(supervisor.AppVarsStartTest PROPERTIES RESOURCE_LOCK port-9877)
ferrolt_test(supervisor AppVarsUpdateCycleTest TLS COST 10)
ferrolt_test(supervisor AppVarsSoakTest COST 5)
add_test(NAME supervisor.AppVarsSoakTest.months COMMAND supervisor-tests AppVarsSoakTest)
set_tests_properties(supervisor.AppVarsSoakTest.months PROPERTIES LABELS "supervisor;long" TIMEOUT 1800
    ENVIRONMENT "FERROLT_SOAK_HOURS=4000;QTEST_FUNCTION_TIMEOUT=1800000")
ferrolt_test(supervisor AppVarsWalkTest COST 15 TIMEOUT 300)

# It puts a kill() of its own in place of the C library's, for all of its program.
ferrolt_test_program(AppVarsTerminationTest LINKS ferrolt_supervisor)
ferrolt_test(supervisor AppVarsTerminationTest PROGRAM AppVarsTerminationTest COST 10)
