# What the benchmarks make of their samples; what they measure is measured by ./bench.
ferrolt_test_program(benchmarks-tests LINKS Qt6::Core
    SOURCES ${PROJECT_SOURCE_DIR}/benchmarks/Figures.cpp ${PROJECT_SOURCE_DIR}/benchmarks/ThreadSwitches.cpp)
target_include_directories(benchmarks-tests PRIVATE ${PROJECT_SOURCE_DIR}/benchmarks)
foreach(test FiguresTest ThreadSwitchesTest)
    ferrolt_test(benchmarks ${test})
endforeach()
