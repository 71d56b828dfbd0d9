# CORVELLA_SANITIZE=address,undefined (or thread) instruments everything that is built here.
set(CORVELLA_SANITIZE "" CACHE STRING "Sanitizers to build with, comma-separated; empty for none")
if(CORVELLA_SANITIZE)
    add_compile_options(-fsanitize=${CORVELLA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${CORVELLA_SANITIZE})
    # They look at themselves through files and processes, which what reads clips otherwise has none of.
    add_compile_definitions(CORVELLA_UNCONFINED)
    # GCC's manual: what the sanitizers put in makes it see uninitialised values that there are none of.
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    # The thread sanitizer does not know fences. One that orders what it sees would make it report a race where there is none,
    # and never hides one; GCC would refuse to compile it.
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
    # A check of virtual calls holds an interface in the program and in the module that it loads for two, unless the
    # program's is known to the module.
    set(CMAKE_ENABLE_EXPORTS ON)
endif()
if(CORVELLA_SANITIZE STREQUAL thread)
    add_library(corvella_clone OBJECT ${CMAKE_CURRENT_LIST_DIR}/CloneForThreadSanitizer.cpp)
    set_target_properties(corvella_clone PROPERTIES AUTOMOC OFF)
    link_libraries($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:corvella_clone>>)
endif()

# Coverage for libFuzzer, which the fuzz targets link.
if(CORVELLA_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
