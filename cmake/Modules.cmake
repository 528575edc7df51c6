# Every folder is a target. CMake hands include folders on from target to target, so that the compiler finds more headers
# than those of the targets linked: tools/check-includes finds these.

add_library(ferrolt_build INTERFACE)
target_compile_options(ferrolt_build INTERFACE
    # clang's -Wshadow would also warn of the names of other files in a unity build.
    -Wall -Wextra -Wpedantic $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local> -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
    -Woverloaded-virtual -Wimplicit-fallthrough -fno-common)
# Q_ASSERT checks what a header demands of its callers, in every build but the shipped one. RelWithDebInfo would switch
# it off. The standard library's own checks (an index out of range, an empty optional) are cheap enough to ship.
target_compile_definitions(ferrolt_build INTERFACE QT_NO_KEYWORDS QT_DISABLE_DEPRECATED_BEFORE=0x060400
    $<$<NOT:$<CONFIG:Release>>:QT_FORCE_ASSERTS> _GLIBCXX_ASSERTIONS)
# ccache keeps no object of GCC's that was compiled with precompiled headers and without this.
target_compile_options(ferrolt_build INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
if(FERROLT_SANITIZE)
    target_compile_options(ferrolt_build INTERFACE -fsanitize=${FERROLT_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    target_link_options(ferrolt_build INTERFACE -fsanitize=${FERROLT_SANITIZE})
endif()
if(FERROLT_COVERAGE)
    # %c keeps the counters in a mapped file, so that they survive SIGKILL and _exit(), %m one file for all runs of a
    # program. The file's name is built in: children without the environment would leave one in their working folder.
    target_compile_options(ferrolt_build INTERFACE -fprofile-instr-generate=${PROJECT_BINARY_DIR}/profiles/%m%c.profraw
        -fcoverage-mapping "SHELL:-mllvm -runtime-counter-relocation")
    target_link_options(ferrolt_build INTERFACE -fprofile-instr-generate)
endif()

# What is shipped names no folder of its builder's, and is the same from any folder.
foreach(where IN ITEMS ${PROJECT_SOURCE_DIR}=source ${PROJECT_BINARY_DIR}=build)
    target_compile_options(ferrolt_build INTERFACE $<$<CONFIG:Release>:-ffile-prefix-map=${where}>)
    target_link_options(ferrolt_build INTERFACE $<$<CONFIG:Release>:-ffile-prefix-map=${where}>)
endforeach()

# A tenth of the time of the system's linker, which alone knows GCC's link-time optimisation.
find_program(FERROLT_MOLD ld.mold)
if(FERROLT_MOLD AND NOT CMAKE_INTERPROCEDURAL_OPTIMIZATION)
    target_link_options(ferrolt_build INTERFACE -fuse-ld=mold)
endif()

# Qt keeps the headers of all its modules under one folder, so a module that links Qt Core could still reach a
# window's header. These folders stand first on the path of every module but app/ and stop the compiler there.
add_library(ferrolt_no_user_interface INTERFACE)
target_include_directories(ferrolt_no_user_interface BEFORE INTERFACE ${PROJECT_SOURCE_DIR}/cmake/fence)

# What the sources of the modules are compiled with. Text that a person sees is UTF-16 by intent, never by accident; tests
# may write it as it comes.
add_library(ferrolt_module_build INTERFACE)
target_link_libraries(ferrolt_module_build INTERFACE ferrolt_build ferrolt_hardening)
target_compile_definitions(ferrolt_module_build INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_USE_QSTRINGBUILDER)

# ferrolt_precompiled_headers(NAME BUILD): a target that precompiles the headers that are most of what the compiler reads
# for a source: once for the modules and once for the tests, whose flags (BUILD) differ. They are Qt Core's only: a module
# without a user interface must not find others. What is shipped is compiled without them.
function(ferrolt_precompiled_headers name build)
    add_library(${name} OBJECT ${PROJECT_SOURCE_DIR}/cmake/CommonHeaders.cpp)
    target_link_libraries(${name} PRIVATE ${build} Qt6::Core)
    target_precompile_headers(${name} PRIVATE
        <QByteArray> <QCoreApplication> <QDir> <QElapsedTimer> <QFile> <QList> <QObject> <QPointer> <QString> <QTimer>
        <QUrl> <algorithm> <array> <atomic> <chrono> <deque> <filesystem> <functional> <map> <memory> <mutex> <optional>
        <string> <thread> <utility> <vector>)
    set_target_properties(${name} PROPERTIES AUTOMOC OFF)
endfunction()
ferrolt_precompiled_headers(module-headers ferrolt_module_build)

# ferrolt_module(NAME SOURCES ... [SHOWS ...] [LINKS ...] [USER_INTERFACE]): a module. SHOWS names the modules that its
# headers include, LINKS those that only its sources include.
function(ferrolt_module name)
    cmake_parse_arguments(MODULE "USER_INTERFACE" "" "SOURCES;SHOWS;LINKS" ${ARGN})
    add_library(ferrolt_${name} STATIC ${MODULE_SOURCES})
    target_include_directories(ferrolt_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(ferrolt_${name} PUBLIC ${MODULE_SHOWS} PRIVATE ${MODULE_LINKS} ferrolt_module_build)
    target_precompile_headers(ferrolt_${name} REUSE_FROM module-headers)
    if(NOT MODULE_USER_INTERFACE)
        target_link_libraries(ferrolt_${name} PRIVATE ferrolt_no_user_interface)
    endif()
endfunction()
