set_tests_properties(${whole-desktop-test_TESTS} PROPERTIES LABELS whole-desktop)
