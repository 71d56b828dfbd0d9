# What the compiler and the linker can do against a fault that somebody would use, and so that one source makes one
# program wherever it lies. tests/hardening-test.sh looks for it in what was built.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
if(NOT CORVELLA_SANITIZE)
    add_compile_options(-fstack-protector-strong -fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        add_compile_options(-fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64")
        add_compile_options(-mbranch-protection=standard)
    endif()
    # Needs an optimiser.
    add_compile_options($<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    add_link_options(LINKER:-z,relro,-z,now)
endif()
