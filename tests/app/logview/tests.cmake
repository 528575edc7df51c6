ferrolt_test_program(app-logview-tests LINKS ferrolt_logview ferrolt_desktop ferrolt_text)
foreach(test ConsoleActionsTest LogConsoleLookTest LogConsoleViewTest LogRowTextTest LogSaverTest LogSearchTest LogTextAreaSelectionTest
        LogTextAreaTest NewestEntryButtonTest)
    ferrolt_test(app/logview ${test} WINDOW)
endforeach()
ferrolt_test(app/logview LogHostileTextTest WINDOW TIMEOUT 300 COST 20 LONG_UNDER thread)  # it has one thread
ferrolt_test(app/logview LogAccessibleTest ${ferrolt_bus})
foreach(scale 1.25 1.5 2 3)
    add_test(NAME app/logview.LogConsoleLookTest@${scale} COMMAND app-logview-tests LogConsoleLookTest)
    set_tests_properties(app/logview.LogConsoleLookTest@${scale} PROPERTIES TIMEOUT 120 LABELS app/logview
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_SCALE_FACTOR=${scale}")
endforeach()

# Whether a plain char is signed is the processor's choice: on arm it is not. What looks at the bytes of a log is compiled
# and tested with the other choice, too. Under the sanitizers the usual one is enough: a negative index is theirs to find.
if(NOT FERROLT_SANITIZE)
    set(logview ${PROJECT_SOURCE_DIR}/app/logview)
    file(GLOB model_sources ${logview}/model/*.cpp)
    ferrolt_test_program(unsigned-char-tests LINKS ferrolt_logview ferrolt_text
        SOURCES app/logview/model/LogRowsTest.cpp app/logview/LogRowTextTest.cpp ${logview}/ConsoleFont.cpp
            ${logview}/LogRowText.cpp ${model_sources}
        OWN_FLAGS)
    target_compile_options(unsigned-char-tests PRIVATE -funsigned-char)
    if(NOT APPLE)
        # mold takes an object of the console's library for weak functions alone, and with it a second copy of these
        # sources. The program's own objects come first.
        target_link_options(unsigned-char-tests PRIVATE -Wl,--allow-multiple-definition)
    endif()
    foreach(test LogRowsTest LogRowTextTest)
        add_test(NAME app/logview.${test}UnsignedChar COMMAND unsigned-char-tests ${test})
        set_tests_properties(app/logview.${test}UnsignedChar PROPERTIES
            TIMEOUT 120 LABELS app/logview ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
    endforeach()
endif()
