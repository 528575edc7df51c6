include(GNUInstallDirs)

set(metainfo ${PROJECT_BINARY_DIR}/packaging/${FERROLT_REVERSE_DOMAIN}.metainfo.xml)
configure_file(linux/metainfo.xml.in ${metainfo} @ONLY)

# The program looks for its resources and its helper beside the folder that it is in, so these three are not free to
# choose.
install(TARGETS ferrolt-miner-launcher RUNTIME DESTINATION bin)
install(DIRECTORY DESTINATION share/ferrolt-miner-launcher)
cmake_path(GET FERROLT_INSTALLATION_HELPER PARENT_PATH helper_folder)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/platform/install/linux/install-libreoffice DESTINATION ${helper_folder})
set(policy_script ${PROJECT_BINARY_DIR}/packaging/policy.cmake)
configure_file(linux/policy.cmake.in ${policy_script} @ONLY)
install(DIRECTORY DESTINATION ${CMAKE_INSTALL_DATADIR}/polkit-1/actions)
install(SCRIPT ${policy_script})
install(FILES linux/ferrolt-miner-launcher.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${metainfo} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${PROJECT_SOURCE_DIR}/app/widgets/symbols/ferrolt-miner-launcher.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES linux/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ferrolt-miner-launcher)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What installing LibreOffice takes besides the essential packages, which have setpriv, flock, tar and find.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "7zip, pkexec, polkitd")
# Without the first it hears of no updates, without the second it needs an X display.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ca-certificates, qt6-wayland")
