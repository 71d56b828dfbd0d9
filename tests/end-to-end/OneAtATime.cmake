# Read by ctest after it has listed the tests. They take turns, so they come first: what is left for the second core then
# is all the others.
set_tests_properties(${end-to-end-test_TESTS} PROPERTIES RESOURCE_LOCK screens LABELS end-to-end COST 1000)
