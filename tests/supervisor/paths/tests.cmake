ferrolt_test_program(supervisor-paths-tests LINKS ferrolt_paths)
ferrolt_test(supervisor/paths PathResolversTest)
