# Holds the headers and libraries of a recorder against what the tool needs of them, and says what is
# missing: docs/device-platform.md has the whole list.
function(streammgr_check_recorder include_dir libraries)
    set(needs ${CMAKE_SOURCE_DIR}/cmake/RecorderNeeds.cpp)
    set(ENV{LC_ALL} C) # the messages of compiler and linker are read

    file(STRINGS ${needs} includes REGEX "^#include \"")
    foreach(line IN LISTS includes)
        string(REGEX REPLACE ".*\"(.*)\"" "\\1" header ${line})
        if(NOT EXISTS ${include_dir}/${header})
            list(APPEND missing "no header ${header}")
        endif()
    endforeach()
    streammgr_fail_if_missing("${missing}")

    set(CMAKE_TRY_COMPILE_CONFIGURATION Debug)
    try_compile(fits ${CMAKE_BINARY_DIR}/recorder-needs ${needs}
        CMAKE_FLAGS "-DINCLUDE_DIRECTORIES=${include_dir}"
        LINK_LIBRARIES ${libraries} Threads::Threads
        CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF
        OUTPUT_VARIABLE output)
    if(NOT fits)
        string(REGEX MATCHALL "[^\n]* error: [^\n]*" lines "${output}")
        list(FILTER lines EXCLUDE REGEX "^collect2: ")
        list(TRANSFORM lines REPLACE "^.* error: (static assertion failed: )?" "")
        streammgr_fail_if_missing("${lines}")
    endif()

    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        streammgr_check_virtual_order(EveryOption "CommonCli.h: ~CommonCli, Usage, HandleLogLevel,\
 SetLogLevel, ProcessOption, RunIt, PreInit, PostInit")
        streammgr_check_virtual_order(EveryValue "Item.h: ~Item, Encode, Decode, Size")
    endif()

    if(NOT fits)
        string(REGEX MATCHALL "undefined reference to [^\n]*" lines "${output}")
        # Every function that names no std::string is there: the C++ library is, but another one.
        if(lines MATCHES "std::(__cxx11|string)" AND NOT lines MATCHES "LinxIpc::Init")
            list(APPEND missing "the same ABI of the C++ library: _GLIBCXX_USE_CXX11_ABI differs, and\
 -DCMAKE_CXX_FLAGS=-D_GLIBCXX_USE_CXX11_ABI=0 or =1 sets it")
        endif()
        list(REMOVE_DUPLICATES lines)
        list(APPEND missing ${lines})
        if(NOT missing)
            set(missing "${output}")
        endif()
    endif()
    streammgr_fail_if_missing("${missing}")
endfunction()

# The virtual functions of a class of RecorderNeeds.cpp are those that `expected` lists, in this order.
macro(streammgr_check_virtual_order class expected)
    set(layout ${CMAKE_BINARY_DIR}/recorder-needs/layout)
    separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
    execute_process(
        COMMAND ${CMAKE_CXX_COMPILER} ${flags} -std=c++20 -I${include_dir} -fsyntax-only
            -fdump-lang-class=${layout} ${needs}
        COMMAND_ERROR_IS_FATAL ANY)
    file(READ ${layout} text)
    string(REGEX MATCH "\nVtable for [^\n]*::${class}\n([^\n]+\n)+" table "${text}")
    string(REGEX MATCHALL "[0-9]+ +\\(int \\(\\*\\)\\(\\.\\.\\.\\)\\)[^(0][^\n]*" found "${table}")
    list(TRANSFORM found REPLACE "^.*::" "")
    list(REMOVE_DUPLICATES found) # a destructor has two entries
    string(REPLACE ";" ", " found "${found}")
    string(REGEX REPLACE "^.*: ~[A-Za-z]+" "~${class}" order "${expected}")
    if(NOT found STREQUAL order)
        list(APPEND missing "the order of the virtual functions in ${expected}")
    endif()
endmacro()

function(streammgr_fail_if_missing missing)
    if(missing)
        list(JOIN missing "\n  " lines)
        message(FATAL_ERROR "The recorder's headers and libraries lack what the tool needs"
            " (docs/device-platform.md):\n  ${lines}")
    endif()
endfunction()
