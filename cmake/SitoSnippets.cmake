# SPDX-License-Identifier: MIT
# Programs shown in the documentation are compiled and run as they stand there.

# sito_add_snippets(<name> <file.md> LIBRARIES ...)
# Every block ```cpp of the file is a whole program, followed by a block ```text with what it prints.
function(sito_add_snippets name file)
    cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    file(READ "${file}" rest)
    set(number 0)
    while(TRUE)
        string(FIND "${rest}" "\n```cpp\n" begin)
        if(begin EQUAL -1)
            break()
        endif()
        math(EXPR number "${number} + 1")
        math(EXPR begin "${begin} + 8")
        string(SUBSTRING "${rest}" ${begin} -1 rest)
        string(FIND "${rest}" "\n```\n" end)
        string(SUBSTRING "${rest}" 0 ${end} program)
        math(EXPR end "${end} + 5")
        string(SUBSTRING "${rest}" ${end} -1 rest)
        string(FIND "${rest}" "\n```text\n" begin)
        if(begin EQUAL -1)
            message(FATAL_ERROR "${file}: program ${number} does not say what it prints")
        endif()
        math(EXPR begin "${begin} + 9")
        string(SUBSTRING "${rest}" ${begin} -1 rest)
        string(FIND "${rest}" "```\n" end)
        string(SUBSTRING "${rest}" 0 ${end} output)
        string(SUBSTRING "${rest}" ${end} -1 rest)

        set(target "${name}_${number}")
        file(CONFIGURE OUTPUT "${target}.cpp" CONTENT "${program}\n" @ONLY)
        file(CONFIGURE OUTPUT "${target}.txt" CONTENT "${output}" @ONLY)
        add_executable(${target} "${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp")
        set_target_properties(${target} PROPERTIES AUTOMOC OFF)
        target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES})
        add_test(NAME ${target}
            COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:${target}>
                -DEXPECTED=${CMAKE_CURRENT_BINARY_DIR}/${target}.txt
                -P "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/RunSnippet.cmake")
        set_tests_properties(${target} PROPERTIES ENVIRONMENT
            "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;XDG_RUNTIME_DIR=${PROJECT_BINARY_DIR}/runtime")
    endwhile()
    if(number EQUAL 0)
        message(FATAL_ERROR "${file}: no program found")
    endif()
endfunction()
