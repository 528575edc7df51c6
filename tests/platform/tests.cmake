foreach(name HttpDownloadTest HttpSessionEndTest HttpSessionTest HttpTimeoutTest)
    ferrolt_test(platform ${name} LINKS ferrolt_platform ferrolt_test_server)
endforeach()
