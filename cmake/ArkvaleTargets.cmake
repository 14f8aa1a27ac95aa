# Settings that every target shares, and the functions that make targets.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(ARKVALE_SANITIZE "" CACHE STRING "Sanitizers, as for -fsanitize= (address,undefined or thread)")
option(ARKVALE_WERROR "Treat warnings as errors" ON)

find_program(ARKVALE_CCACHE ccache)
if(ARKVALE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ARKVALE_CCACHE})
endif()

function(arkvale_common target)
    target_compile_definitions(${target} PRIVATE
        QT_DEPRECATED_WARNINGS QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /utf-8)
    else()
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wundef)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            # Optimised builds: this compiler takes the temporaries of initializer lists for uninitialised.
            target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
            if(ARKVALE_SANITIZE STREQUAL "thread")
                target_compile_options(${target} PRIVATE -Wno-tsan) # fences of a library's headers
            endif()
        endif()
        if(ARKVALE_WERROR)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    endif()
    if(ARKVALE_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${ARKVALE_SANITIZE} -fno-omit-frame-pointer
            -fno-sanitize-recover=undefined)
        target_link_options(${target} PRIVATE -fsanitize=${ARKVALE_SANITIZE})
    endif()
endfunction()

# arkvale_library(name SOURCES ... PUBLIC ... PRIVATE ...)
# A static library of one folder. Its include path is that folder and what it links: a header of a folder that
# is not linked cannot be included.
function(arkvale_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
    arkvale_common(${name})
endfunction()

# arkvale_headers(name PUBLIC ...): a folder that holds headers only.
function(arkvale_headers name)
    cmake_parse_arguments(ARG "" "" "PUBLIC" ${ARGN})
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ARG_PUBLIC})
endfunction()

# arkvale_program(name SOURCES ... LINK ...)
function(arkvale_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK})
    arkvale_common(${name})
endfunction()

# A race fails the test in which it is seen, at its end.
set(ARKVALE_TSAN_OPTIONS
    "TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/tsan.supp:halt_on_error=0:exitcode=66")

# arkvale_test(name LABEL unit|contract|gui|e2e|lint SOURCES ... LINK ... [TIMEOUT seconds])
# A test program of its own that runs without a display and with a private home folder.
function(arkvale_test name)
    cmake_parse_arguments(ARG "" "LABEL;TIMEOUT" "SOURCES;LINK;ARGS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(ARKVALE_SANITIZE)
        math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 4")
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK} test_support Qt5::Test)
    arkvale_common(${name})
    add_test(NAME ${name} COMMAND ${name} ${ARG_ARGS})
    set_tests_properties(${name} PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;ARKVALE_BIN=${CMAKE_BINARY_DIR}/bin;LC_ALL=C.UTF-8;LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/lsan.supp;ASAN_OPTIONS=detect_leaks=1;UBSAN_OPTIONS=print_stacktrace=1;${ARKVALE_TSAN_OPTIONS}")
endfunction()

# Adds a folder once it holds a CMakeLists.txt.
function(arkvale_folder folder)
    if(EXISTS ${CMAKE_SOURCE_DIR}/${folder}/CMakeLists.txt)
        add_subdirectory(${CMAKE_SOURCE_DIR}/${folder} ${CMAKE_BINARY_DIR}/${folder})
    endif()
endfunction()

# arkvale_import(name VARIABLE): builds the substitute imports/<name>, or, when VARIABLE names a library file, makes
# <name> stand for that library. The public header is the same for both.
function(arkvale_import name variable)
    set(${variable} "" CACHE FILEPATH "Library to link as ${name} instead of the substitute in imports/${name}")
    if(${variable})
        add_library(${name} UNKNOWN IMPORTED GLOBAL)
        set_target_properties(${name} PROPERTIES IMPORTED_LOCATION ${${variable}}
            INTERFACE_INCLUDE_DIRECTORIES ${CMAKE_SOURCE_DIR}/imports/${name}
            INTERFACE_LINK_LIBRARIES "Qt5::Core;Qt5::Gui;Qt5::Network")
    else()
        arkvale_folder(imports/${name})
    endif()
endfunction()
