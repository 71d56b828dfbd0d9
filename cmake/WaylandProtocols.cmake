# Client sides of Wayland protocols, written by wayland-scanner from their descriptions.
pkg_get_variable(WAYLAND_SCANNER wayland-scanner wayland_scanner)

# Gives the target NAME-client.h and compiles what belongs to it. Used in the folder of that target.
function(corvella_wayland_protocol target name description)
    add_custom_command(OUTPUT ${name}-client.h ${name}-protocol.c
        COMMAND ${WAYLAND_SCANNER} client-header ${description} ${name}-client.h
        COMMAND ${WAYLAND_SCANNER} private-code ${description} ${name}-protocol.c
        DEPENDS ${description}
        VERBATIM)
    target_sources(${target} PRIVATE ${name}-client.h ${name}-protocol.c)
endfunction()
