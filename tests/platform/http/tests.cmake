foreach(name HttpDownloadTest HttpProxyTest HttpSessionEndTest HttpSessionTest HttpTimeoutTest RedirectRuleTest)
    ferrolt_test(platform/http ${name} LINKS ferrolt_http ferrolt_test_server)
endforeach()
# They stand in for the system's name look-up, which Qt's library must find too.
foreach(name HttpProxyTest HttpSessionEndTest RedirectRuleTest)
    set_target_properties(${name} PROPERTIES ENABLE_EXPORTS ON)
    target_link_libraries(${name} PRIVATE ${CMAKE_DL_LIBS})
endforeach()
