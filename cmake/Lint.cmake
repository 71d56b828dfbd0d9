# `cmake --preset lint && cmake --build --preset lint`: every source of ours as clang-format has it, and clean under
# clang-tidy. In other builds sources are compiled several at a time, which clang-tidy cannot follow.
find_program(CLANG_FORMAT clang-format)
find_program(RUN_CLANG_TIDY run-clang-tidy)
if(CLANG_FORMAT AND RUN_CLANG_TIDY)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS
        ${PROJECT_SOURCE_DIR}/main/*.cpp ${PROJECT_SOURCE_DIR}/main/*.h
        ${PROJECT_SOURCE_DIR}/saver/*.cpp ${PROJECT_SOURCE_DIR}/saver/*.h
        ${PROJECT_SOURCE_DIR}/tools/*.cpp ${PROJECT_SOURCE_DIR}/tools/*.h
        ${PROJECT_SOURCE_DIR}/tests/*.cpp ${PROJECT_SOURCE_DIR}/tests/*.h
        ${PROJECT_SOURCE_DIR}/fuzz/*.cpp ${PROJECT_SOURCE_DIR}/benchmarks/*.cpp)
    add_custom_target(lint
        COMMAND ${CLANG_FORMAT} --dry-run --Werror ${sources}
        COMMAND ${RUN_CLANG_TIDY} -quiet -p ${CMAKE_BINARY_DIR} "${PROJECT_SOURCE_DIR}/main/.*"
            "${PROJECT_SOURCE_DIR}/tools/.*"
        VERBATIM)
endif()
