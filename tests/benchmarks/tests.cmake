# What the benchmarks make of their samples; what they measure is measured by ./bench.
foreach(test Figures ThreadSwitches)
    ferrolt_test(benchmarks ${test}Test LINKS Qt6::Core SOURCES ${PROJECT_SOURCE_DIR}/benchmarks/${test}.cpp)
    target_include_directories(${test}Test PRIVATE ${PROJECT_SOURCE_DIR}/benchmarks)
endforeach()
