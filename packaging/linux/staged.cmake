# Run by CPack on the files that it has put together for a package. CPack 3.25 could take out the debug symbols itself, but
# its package of them has sums of files in the builder's folders, no documents, and a name that apt does not take.
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/split-debug-symbols
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/bin/ferrolt-miner-launcher
    ${CPACK_PACKAGE_DIRECTORY} ${CPACK_DEBIAN_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE} ${CPACK_PACKAGE_CONTACT}
    ${CPACK_FERROLT_DEBUG_SYMBOLS} COMMAND_ERROR_IS_FATAL ANY)
