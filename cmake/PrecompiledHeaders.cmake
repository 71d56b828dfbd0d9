# The headers that most sources read are compiled once for many targets, which takes a third off a build. The presets
# with sanitizers do without, and so find a source that lacks an include.

# Declares `name`, which compiles the headers for those who share them; the caller links what they need.
function(corvella_precompiled_headers name)
    file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp CONTENT "")
    add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    target_precompile_headers(${name} PRIVATE ${ARGN})
endfunction()

function(corvella_share_headers target from)
    target_precompile_headers(${target} REUSE_FROM ${from})
    if(CCACHE)
        # It knows what was compiled with precompiled headers again only if it may trust their content.
        set_target_properties(${target} PROPERTIES
            CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND};-E;env;CCACHE_SLOPPINESS=pch_defines,time_macros;${CCACHE}")
    endif()
endfunction()
