# Hardening as in Debian's packages, also in a build outside a package: position-independent
# programs whose tables are read-only before main begins, checked calls of the C library, and a guard
# on the stack. In release builds only: the checked calls need the optimiser, and the sanitizers do
# more than all of it.
option(STREAMMGR_HARDENING "Harden release builds as Debian does" ON)

# For all targets of the folder that calls it, and of the folders below.
macro(streammgr_harden)
    if(STREAMMGR_HARDENING AND CMAKE_BUILD_TYPE STREQUAL "Release")
        add_compile_options(-fPIE -fstack-protector-strong -Wformat -Werror=format-security
            -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
        add_link_options(-pie -Wl,-z,relro,-z,now)
    endif()
endmacro()

# The same source gives the same bytes, wherever it is built.
add_compile_options(-ffile-prefix-map=${CMAKE_BINARY_DIR}=. -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)
