foreach(test LogRowsTest LogTextTest LogViewportTest)
    ferrolt_test(app/logview/model ${test} LINKS ferrolt_model ferrolt_text)
endforeach()
