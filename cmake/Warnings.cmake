# corvella_warnings: what every target of ours compiles with. Linked privately, so that nobody inherits it;
# other people's headers come in as SYSTEM.
add_library(corvella_warnings INTERFACE)
target_compile_options(corvella_warnings INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Wsign-conversion -Wold-style-cast -Wcast-qual
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wundef -Werror)
target_compile_definitions(corvella_warnings INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH QT_USE_QSTRINGBUILDER)

# Declares one module of the program: a static library over the listed sources, in namespace corvella,
# included from the root of main/. MOC: some of its classes are Q_OBJECTs; looking for them takes time where there are none.
function(corvella_module name)
    cmake_parse_arguments(ARG "MOC" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ${ARG_MOC})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/main)
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE corvella_warnings ${ARG_PRIVATE_LINKS})
    corvella_share_headers(${name} corvella_headers)
    corvella_compile_together(${name})
endfunction()

# Declares a program of the listed sources.
function(corvella_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} corvella_warnings)
    corvella_share_headers(${name} corvella_headers)
endfunction()
