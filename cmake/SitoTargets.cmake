# SPDX-License-Identifier: MIT
# How every target of the project is compiled, and the one way to add a library.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_AUTOMOC ON)
# In a host, the kind of build and the folders of what is built are the host's.
if(PROJECT_IS_TOP_LEVEL)
    set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
    if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
        set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
    endif()
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
    set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
endif()

# Private to the project's own targets; a host is never forced into these.
add_library(sito_strict INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(sito_strict INTERFACE
        -Wall -Wextra -Wconversion -Wshadow -Wnon-virtual-dtor -Wcast-align -Woverloaded-virtual -Wundef
        -Wnull-dereference -Wimplicit-fallthrough)
    if(SITO_WARNINGS_AS_ERRORS)
        target_compile_options(sito_strict INTERFACE -Werror)
    endif()
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC reports null dereferences inside Qt's and the standard library's inlined code only when optimising.
    target_compile_options(sito_strict INTERFACE -Wno-null-dereference -Wlogical-op -Wduplicated-cond)
endif()
if(SITO_PORTABLE)
    target_compile_definitions(sito_strict INTERFACE SITO_PORTABLE)
endif()
target_compile_definitions(sito_strict INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
    QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)

# Folders whose headers are included by <folder/...> are linked from here: with the root of the project on the
# include path, hosts would see all that lies there. Installed, the headers lie in one folder as well.
set(SITO_INCLUDE_DIR "${PROJECT_BINARY_DIR}/include")

# sito_link_headers(<folder>)
# Makes the headers of the current source folder known by <folder/...>.
function(sito_link_headers folder)
    file(MAKE_DIRECTORY "${SITO_INCLUDE_DIR}")
    file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${SITO_INCLUDE_DIR}/${folder}" SYMBOLIC)
endfunction()

# sito_add_library(<target> <component> <macro> <source>...)
# A library that hosts know as Sito::<component>; the macro makes its export macro export. Static when
# BUILD_SHARED_LIBS is off.
function(sito_add_library target component macro)
    add_library(${target} ${ARGN})
    add_library(Sito::${component} ALIAS ${target})
    if(BUILD_SHARED_LIBS)
        target_compile_definitions(${target} PRIVATE ${macro})
    endif()
    if(BUILD_SHARED_LIBS AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
        set(map "${PROJECT_SOURCE_DIR}/cmake/foreign.map")
        target_link_options(${target} PRIVATE "LINKER:--version-script=${map}")
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${map}")
    endif()
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:sito_strict>)
    # Archives as well: plugins of a host may link them.
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON
        VERSION ${PROJECT_VERSION} SOVERSION ${SITO_SOVERSION} EXPORT_NAME ${component})
endfunction()

# sito_leave_database_to_host(<target>)
# Lets the library be linked without a database library, which the host brings, also where a host forbids that.
function(sito_leave_database_to_host target)
    if(BUILD_SHARED_LIBS AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
        target_link_options(${target} PRIVATE LINKER:-z,undefs)
    endif()
endfunction()
