# What the tool is compiled against and linked with: the workstation's platform, or the recorder's own
# headers and libraries.
set(STREAMMGR_PLATFORM workstation CACHE STRING "workstation or recorder")
set(STREAMMGR_PLATFORM_INCLUDE_DIR "" CACHE PATH "The folder of the recorder's headers")
set(STREAMMGR_PLATFORM_LIBRARY "" CACHE FILEPATH "The recorder's library, or a list of them")

# The seam: what the tool and everything below it agree on.
add_library(seam INTERFACE)
add_library(platform INTERFACE)
if(STREAMMGR_PLATFORM STREQUAL "recorder")
    foreach(path IN LISTS STREAMMGR_PLATFORM_INCLUDE_DIR STREAMMGR_PLATFORM_LIBRARY)
        if(NOT EXISTS ${path})
            message(FATAL_ERROR "No such file or folder of the recorder's: ${path}")
        endif()
    endforeach()
    if(NOT STREAMMGR_PLATFORM_INCLUDE_DIR OR NOT STREAMMGR_PLATFORM_LIBRARY)
        message(FATAL_ERROR "Say where the recorder's headers and libraries are:"
            " -DSTREAMMGR_PLATFORM_INCLUDE_DIR=... -DSTREAMMGR_PLATFORM_LIBRARY=...")
    endif()
    include(cmake/Recorder.cmake)
    streammgr_check_recorder("${STREAMMGR_PLATFORM_INCLUDE_DIR}" "${STREAMMGR_PLATFORM_LIBRARY}")
    target_include_directories(seam SYSTEM INTERFACE ${STREAMMGR_PLATFORM_INCLUDE_DIR})
    target_link_libraries(platform INTERFACE ${STREAMMGR_PLATFORM_LIBRARY})
else()
    target_include_directories(seam INTERFACE ${CMAKE_SOURCE_DIR}/src/platform)
    add_subdirectory(workstation)
    target_link_libraries(platform INTERFACE workstation)
    # Half of the time that a short command takes, and a third of its memory, is the dynamic
    # libstdc++. The recorder's libraries bring it; a second one beside it would not do.
    target_link_options(platform INTERFACE $<$<CONFIG:Release>:-static-libstdc++ -static-libgcc>)
endif()
