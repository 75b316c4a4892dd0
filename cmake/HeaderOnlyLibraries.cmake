# CLI11 and bitstream. A library of headers only is the same for every processor: a cross build uses
# the build machine's, through a folder in which nothing else of that machine is visible.
if(CMAKE_CROSSCOMPILING)
    set(host_headers ${CMAKE_BINARY_DIR}/host-headers)
    file(MAKE_DIRECTORY ${host_headers})
    foreach(folder CLI bitstream)
        file(CREATE_LINK /usr/include/${folder} ${host_headers}/${folder} SYMBOLIC)
    endforeach()
    include_directories(SYSTEM ${host_headers})
    add_library(CLI11::CLI11 INTERFACE IMPORTED)
else()
    find_package(CLI11 REQUIRED)
endif()
