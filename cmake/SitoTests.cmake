# SPDX-License-Identifier: MIT
# The one way to add a test.

# The QTRY macros of later Qt versions narrow their own numbers where they are used. Linked behind sito_strict, whose
# warnings are to come first.
add_library(sito_waiting_macros INTERFACE)
target_compile_options(sito_waiting_macros INTERFACE -Wno-conversion)

find_program(SITO_XVFB_RUN xvfb-run)

set(SITO_TEST_OPTIONS "" CACHE STRING "Options for the compiler, for tests and examples alone")

# Reading Qt's headers is most of what a test costs.
if(SITO_PRECOMPILED_HEADERS)
    file(WRITE "${PROJECT_BINARY_DIR}/precompiled.cpp" "")
    add_library(sito_precompiled OBJECT "${PROJECT_BINARY_DIR}/precompiled.cpp")
    set_target_properties(sito_precompiled PROPERTIES AUTOMOC OFF)
    target_precompile_headers(sito_precompiled PRIVATE "${PROJECT_SOURCE_DIR}/cmake/precompiled.h")
    # The headers of all modules, but the definitions of Core alone: these must hold for whoever uses them.
    target_link_libraries(sito_precompiled PRIVATE Qt6::Core sito_strict)
    target_compile_options(sito_precompiled PRIVATE ${SITO_TEST_OPTIONS})
    foreach(module Gui Widgets)
        target_include_directories(sito_precompiled SYSTEM PRIVATE
            "$<TARGET_PROPERTY:Qt6::${module},INTERFACE_INCLUDE_DIRECTORIES>")
    endforeach()
endif()
# What the programs of tests and examples have in common.
function(sito_precompile program)
    target_compile_options(${program} PRIVATE ${SITO_TEST_OPTIONS})
    if(SITO_PRECOMPILED_HEADERS)
        target_precompile_headers(${program} REUSE_FROM sito_precompiled)
        # What CMake compiles beside the sources is empty in most programs: loading the headers would be all it costs.
        set_source_files_properties("${CMAKE_CURRENT_BINARY_DIR}/${program}_autogen/mocs_compilation.cpp"
            PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
endfunction()

# What every test runs with, but for the platform of its windows.
set(SITO_TEST_ENVIRONMENT "LC_ALL=C.UTF-8;XDG_RUNTIME_DIR=${PROJECT_BINARY_DIR}/runtime")

# sito_add_test(<name> SOURCES ... LIBRARIES ... [X11])
# One Qt Test program, run offscreen, in English and in UTC unless the test itself says otherwise; with X11 it is run
# a second time, as <name>_x11, in a real X server, where there is xvfb-run.
function(sito_add_test name)
    cmake_parse_arguments(ARG "X11" "" "SOURCES;LIBRARIES;ENVIRONMENT" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    # Behind the libraries that use it: many tests do not themselves, and a linker would leave it out before them.
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} ${SITO_TEST_DATABASE} sito_strict Qt6::Test)
    if(Qt6_VERSION VERSION_GREATER_EQUAL 6.5)
        target_link_libraries(${name} PRIVATE sito_waiting_macros)
    endif()
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    sito_precompile(${name})
    add_test(NAME ${name} COMMAND ${name})
    set(environment "${SITO_TEST_ENVIRONMENT};${ARG_ENVIRONMENT}")
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${environment}" TIMEOUT 300)
    if(ARG_X11 AND SITO_XVFB_RUN)
        add_test(NAME ${name}_x11
            COMMAND "${SITO_XVFB_RUN}" -a -s "-screen 0 1600x1200x24" "$<TARGET_FILE:${name}>")
        # One at a time: windows of a server of its own, but two servers would race for a number.
        set_tests_properties(${name}_x11 PROPERTIES
            ENVIRONMENT "QT_QPA_PLATFORM=xcb;${environment}" TIMEOUT 300 RESOURCE_LOCK xvfb)
    endif()
endfunction()

# Qt warns without one, and insists on it being private.
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/runtime")
file(CHMOD "${PROJECT_BINARY_DIR}/runtime" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
