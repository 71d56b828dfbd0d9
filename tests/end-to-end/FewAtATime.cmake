# Read by ctest after it has listed the tests. Those with screens wait for most of their time, but look at the clock: three
# of them run at a time, beside other tests. They come first, then what takes long by itself, so that there is work for all
# cores to the end.
set(turn 0)
foreach(test IN LISTS end-to-end-test_TESTS)
    set_tests_properties(${test} PROPERTIES RESOURCE_LOCK screens-${turn} LABELS end-to-end COST 1000)
    math(EXPR turn "(${turn} + 1) % 3")
endforeach()
set_tests_properties(${priming-test_TESTS} ${updates-test_TESTS} PROPERTIES COST 100)
