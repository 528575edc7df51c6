include(GNUInstallDirs)

# One time for all that is in a package, so that the same sources make the same bytes.
foreach(time "%s" "%a, %d %b %Y %H:%M:%S +0000")
    execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C date --utc --date=${FERROLT_RELEASE_DATE} "+${time}"
        OUTPUT_VARIABLE printed OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "FERROLT_RELEASE_DATE is no date: \"${FERROLT_RELEASE_DATE}\"")
    endif()
    list(APPEND release_times "${printed}")
endforeach()
list(GET release_times 0 FERROLT_RELEASE_TIME)
list(GET release_times 1 release_day)

set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)

set(made ${PROJECT_BINARY_DIR}/packaging)
# AppStream takes no hyphens in an identifier.
string(REPLACE - _ FERROLT_COMPONENT_ID ${FERROLT_REVERSE_DOMAIN})
set(metainfo ${made}/${FERROLT_COMPONENT_ID}.metainfo.xml)
configure_file(linux/metainfo.xml.in ${metainfo} @ONLY)
configure_file(linux/copyright.in ${made}/copyright @ONLY)
configure_file(linux/README.Debian.in ${made}/README.Debian @ONLY)

# Debian's readers of manuals and changelogs take them compressed, and its packages have to have them so.
configure_file(linux/changelog.in ${made}/changelog.Debian @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${made}/changelog COPYONLY)
configure_file(${PROJECT_SOURCE_DIR}/man/ferrolt-miner-launcher.1.in ${made}/ferrolt-miner-launcher.1 @ONLY)
foreach(document changelog.Debian changelog ferrolt-miner-launcher.1)
    add_custom_command(OUTPUT ${made}/${document}.gz DEPENDS ${made}/${document} VERBATIM
        COMMAND gzip --best --no-name --keep --force ${made}/${document})
    list(APPEND compressed ${made}/${document}.gz)
endforeach()
add_custom_target(ferrolt-documents ALL DEPENDS ${compressed})

# The program looks for its resources and its helper beside the folder that it is in, so these two are not free to choose.
set(program bin)
cmake_path(GET FERROLT_INSTALLATION_HELPER PARENT_PATH helper)
set(actions ${CMAKE_INSTALL_DATADIR}/polkit-1/actions)
set(entries ${CMAKE_INSTALL_DATADIR}/applications)
set(components ${CMAKE_INSTALL_DATADIR}/metainfo)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
set(sizes 16 22 24 32 48 64 128 256)
set(manual ${CMAKE_INSTALL_MANDIR}/man1)
set(documents ${CMAKE_INSTALL_DATADIR}/doc/ferrolt-miner-launcher)
set(overrides ${CMAKE_INSTALL_DATADIR}/lintian/overrides)

set(folders ${program} ${helper} ${actions} ${entries} ${components} ${icons}/scalable/apps ${manual} ${documents}
    ${overrides})
foreach(size ${sizes})
    list(APPEND folders ${icons}/${size}x${size}/apps)
endforeach()
configure_file(linux/folders.cmake.in ${made}/folders.cmake @ONLY)
install(SCRIPT ${made}/folders.cmake)
configure_file(linux/policy.cmake.in ${made}/policy.cmake @ONLY)
install(SCRIPT ${made}/policy.cmake)

install(TARGETS ferrolt-miner-launcher RUNTIME DESTINATION ${program})
install(PROGRAMS ${PROJECT_SOURCE_DIR}/platform/install/linux/install-libreoffice DESTINATION ${helper})
install(FILES linux/ferrolt-miner-launcher.desktop DESTINATION ${entries})
install(FILES ${metainfo} DESTINATION ${components})
# The drawing, and what tools/render-icons made of it for desktops that take no drawings.
install(FILES ${PROJECT_SOURCE_DIR}/app/widgets/symbols/ferrolt-miner-launcher.svg DESTINATION ${icons}/scalable/apps)
foreach(size ${sizes})
    install(FILES linux/icons/${size}.png DESTINATION ${icons}/${size}x${size}/apps RENAME ferrolt-miner-launcher.png)
endforeach()
install(FILES ${made}/ferrolt-miner-launcher.1.gz DESTINATION ${manual})
install(FILES ${made}/copyright ${made}/README.Debian ${made}/changelog.gz ${made}/changelog.Debian.gz
    DESTINATION ${documents})
install(FILES linux/lintian-overrides DESTINATION ${overrides} RENAME ferrolt-miner-launcher)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PROJECT_CONFIG_FILE ${made}/cpack.cmake)
configure_file(linux/cpack.cmake.in ${CPACK_PROJECT_CONFIG_FILE} @ONLY)
set(CPACK_FERROLT_DEVELOPMENT_FOLDER "${FERROLT_DEVELOPMENT_FOLDER}")
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/linux/staged.cmake)
set(CPACK_FERROLT_DEBUG_SYMBOLS packed)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${FERROLT_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What installing LibreOffice takes besides the essential packages, which have setpriv, flock, tar and find.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "7zip, pkexec, polkitd")
# Without the first it hears of no updates, without the second it needs an X display.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ca-certificates, qt6-wayland")
