configure_file(macos/Info.plist.in ${PROJECT_BINARY_DIR}/packaging/Info.plist @ONLY)
set_target_properties(ferrolt-miner-launcher PROPERTIES
    MACOSX_BUNDLE ON
    MACOSX_BUNDLE_INFO_PLIST ${PROJECT_BINARY_DIR}/packaging/Info.plist)
install(TARGETS ferrolt-miner-launcher BUNDLE DESTINATION . RUNTIME DESTINATION bin)
set(CPACK_GENERATOR DragNDrop)
set(CPACK_STRIP_FILES ON)
