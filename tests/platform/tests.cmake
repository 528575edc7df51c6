ferrolt_test(platform PrivilegedCommandTest LINKS ferrolt_platform)
ferrolt_test(platform RemoveTreeTest LINKS ferrolt_platform SOURCES support/TreeSnapshot.cpp)
ferrolt_test(platform ToolRunnerTest LINKS ferrolt_platform SOURCES support/TreeSnapshot.cpp)
if(NOT APPLE)
    ferrolt_test(platform DiskImageTest LINKS ferrolt_platform SOURCES support/TestApfsVolume.cpp
        support/TestDiskImage.cpp support/TestHfsVolume.cpp support/TreeSnapshot.cpp)
    ferrolt_test(platform DiskImageToolTest LINKS ferrolt_platform SOURCES support/TestDiskImage.cpp
        support/TestHfsVolume.cpp support/TreeSnapshot.cpp)
    ferrolt_test(platform PkexecCopyTest LINKS ferrolt_platform SOURCES support/TreeSnapshot.cpp)
    foreach(test DiskImageTest PkexecCopyTest)
        target_include_directories(${test} PRIVATE ${PROJECT_SOURCE_DIR}/platform/linux)
    endforeach()
endif()
