foreach(test PracticeEngineTest PracticeClientTest)
    ferrolt_test(practice ${test} LINKS Qt6::Network)
endforeach()
