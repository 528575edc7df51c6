include(GNUInstallDirs)

set(metainfo ${PROJECT_BINARY_DIR}/packaging/${FERROLT_REVERSE_DOMAIN}.metainfo.xml)
configure_file(linux/metainfo.xml.in ${metainfo} @ONLY)

# The program looks for its resources beside the folder that it is in, so these two are not free to choose.
install(TARGETS ferrolt-miner-launcher RUNTIME DESTINATION bin)
install(DIRECTORY DESTINATION share/ferrolt-miner-launcher)
install(FILES linux/ferrolt-miner-launcher.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${metainfo} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${PROJECT_SOURCE_DIR}/app/symbols/ferrolt-miner-launcher.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES linux/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ferrolt-miner-launcher)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Without the first it hears of no updates, without the next two it does all but install LibreOffice, without the last
# it needs an X display.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ca-certificates, 7zip, pkexec, qt6-wayland")
