# What makes a memory error harder to exploit. Linked by every module and by the launcher, not by the tests, which are not
# optimised: _FORTIFY_SOURCE needs optimisation. The sanitizers have checks of their own in the same places.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT APPLE)
    # CMake 3.25 adds -fPIE, with which link-time optimisation would turn all -fPIC code, which Qt asks for, into code with
    # copies of Qt's data. Qt's libraries go on using their own, and the program crashes at its start.
    set(CMAKE_CXX_LINK_OPTIONS_PIE -pie)
endif()

add_library(ferrolt_hardening INTERFACE)
if(NOT FERROLT_SANITIZE)
    target_compile_options(ferrolt_hardening INTERFACE -fstack-protector-strong)
    # A packager's flags often ask for level 2, which may not be defined twice.
    target_compile_options(ferrolt_hardening INTERFACE
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>)
    if(NOT APPLE)
        target_compile_options(ferrolt_hardening INTERFACE -fstack-clash-protection)
        target_link_options(ferrolt_hardening INTERFACE LINKER:-z,relro,-z,now)
    endif()
endif()
