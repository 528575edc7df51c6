ferrolt_test_program(platform-http-tests LINKS ferrolt_http ferrolt_test_server)
foreach(test HttpDownloadTest HttpSessionTest)
    ferrolt_test(platform/http ${test} TLS)
endforeach()
ferrolt_test(platform/http HttpTimeoutTest TLS COST 10)

# They put a name look-up of their own in place of the C library's, which Qt's library must find too.
ferrolt_test_program(platform-http-name-tests SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/support/NameLookup.cpp
    LINKS ferrolt_http ferrolt_test_server ${CMAKE_DL_LIBS})
set_target_properties(platform-http-name-tests PROPERTIES ENABLE_EXPORTS ON)
foreach(test HttpProxyTest HttpSessionEndTest RedirectRuleTest)
    ferrolt_test(platform/http ${test} TLS PROGRAM platform-http-name-tests)
endforeach()
