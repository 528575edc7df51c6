# The settings that a builder may change, by the names that packagers know them by.
set(FERROLT_UPDATE_SERVER "https://updates.ferrolt.example" CACHE STRING "Base URL of the update server")
set(FERROLT_NODE_SERVER_HOST "nodes.ferrolt.example" CACHE STRING "The default node server host")
if(APPLE)
    set(_libreoffice_server "https://download.documentfoundation.org")
else()
    # A Linux desktop has no use for a Mac application unless its builder says so.
    set(_libreoffice_server "https://downloads.ferrolt.example")
endif()
set(FERROLT_LIBREOFFICE_SERVER "${_libreoffice_server}" CACHE STRING "Base URL of the LibreOffice download server")
set(FERROLT_DEVELOPMENT_FOLDER "${PROJECT_SOURCE_DIR}" CACHE PATH
    "The folder that the engine and the client are taken from when they are not installed")
set(FERROLT_REVERSE_DOMAIN "io.ferrolt.miner-launcher" CACHE STRING "The reverse-domain identifier")
set(FERROLT_RELEASE_DATE "2026-11-21" CACHE STRING "The day of this version's release, as YYYY-MM-DD")
set(FERROLT_COPYRIGHT "2026 Ferrolt" CACHE STRING "Who holds the copyright, as \"years name\"")
set(FERROLT_LICENSE "LicenseRef-proprietary" CACHE STRING "The licence, as an SPDX expression")
set(FERROLT_HOMEPAGE "https://ferrolt.example" CACHE STRING "The program's page, with its pictures below screenshots/")
set(FERROLT_PACKAGER "Ferrolt <packages@ferrolt.example>" CACHE STRING "Who answers for the packages, as \"name <address>\"")
option(BUILD_TESTING "Build the tests and benchmarks" ON)
option(FERROLT_FUZZ "Build the fuzz targets, with clang" OFF)
option(FERROLT_COVERAGE "Count which branches are taken, with clang" OFF)
set(FERROLT_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")

# Not a builder's choice: the program looks for its helper here, from the folder above its own.
set(FERROLT_INSTALLATION_HELPER libexec/ferrolt-miner-launcher/install-libreoffice)
