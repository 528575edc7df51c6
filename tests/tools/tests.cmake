# Tests of the scripts that build, check, run and measure: tests/tools/NAME_test.sh.
function(ferrolt_script_test name)
    add_test(NAME tools.${name} COMMAND ${ARGN} ${CMAKE_CURRENT_SOURCE_DIR}/tools/${name}_test.sh)
    set_tests_properties(tools.${name} PROPERTIES TIMEOUT 300 LABELS tools)
endfunction()

ferrolt_script_test(own_processes)
ferrolt_script_test(end_orphans)
ferrolt_script_test(skipped_tests)
ferrolt_script_test(figures_table)
ferrolt_script_test(branches_table)
add_test(NAME tools.check_includes
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/tools/check_includes_test.py ${PROJECT_BINARY_DIR})
set_tests_properties(tools.check_includes PROPERTIES TIMEOUT 600 LABELS tools COST 20)
if(PROJECT_BINARY_DIR STREQUAL "${PROJECT_SOURCE_DIR}/build/dev")
    ferrolt_script_test(run in-own-network)  # it opens what the preset dev has built
    set_tests_properties(tools.run PROPERTIES COST 30)
    ferrolt_script_test(run_update in-own-network)  # it builds what the preset tour does
    set_tests_properties(tools.run_update PROPERTIES TIMEOUT 1200 LABELS "tools;long" SKIP_RETURN_CODE 200)
endif()
