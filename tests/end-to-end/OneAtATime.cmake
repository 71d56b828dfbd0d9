# Read by ctest after it has listed the tests.
set_tests_properties(${end-to-end-test_TESTS} PROPERTIES RESOURCE_LOCK screens LABELS end-to-end)
