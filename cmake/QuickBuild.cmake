# Compiles the headers that most sources read once, and several sources at a time: together that halves a build. The
# presets with sanitizers and the one for lint do without, and so find a source that lacks an include.
option(CORVELLA_QUICK_BUILD "Precompile headers, and compile several sources at a time" ON)

# Declares `name`, which compiles the headers for those who share them; the caller links what they need.
function(corvella_precompiled_headers name)
    file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp CONTENT "")
    add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    target_precompile_headers(${name} PRIVATE ${ARGN})
endfunction()

# Several sources at a time are one to the compiler: what is unnamed in one of them is known in the next, too.
function(corvella_compile_together target)
    if(NOT CORVELLA_QUICK_BUILD)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
    # GCC takes them for headers, in which types of unnamed namespaces are a fault.
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endfunction()

function(corvella_share_headers target from)
    if(NOT CORVELLA_QUICK_BUILD)
        return()
    endif()
    target_precompile_headers(${target} REUSE_FROM ${from})
    if(CCACHE)
        # It knows what was compiled with precompiled headers again only if it may trust their content.
        set_target_properties(${target} PROPERTIES
            CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND};-E;env;CCACHE_SLOPPINESS=pch_defines,time_macros;${CCACHE}")
    endif()
endfunction()
