# SPDX-License-Identifier: MIT
# Runs PROGRAM and compares what it prints, on either channel, with the file EXPECTED.
execute_process(COMMAND "${PROGRAM}" OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
if(NOT result EQUAL 0 OR NOT output STREQUAL expected)
    message(FATAL_ERROR "exit code ${result}\n--- expected\n${expected}--- printed\n${output}")
endif()
