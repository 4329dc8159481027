# SPDX-License-Identifier: MIT
# Runs PROGRAM with its ARGUMENTS and compares what it prints, on either channel, with the file EXPECTED.
execute_process(COMMAND "${PROGRAM}" ${ARGUMENTS} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
# What the platform without a display says of windows that are shown.
string(REPLACE "This plugin does not support propagateSizeHints()\n" "" output "${output}")
if(NOT result EQUAL 0 OR NOT output STREQUAL expected)
    message(FATAL_ERROR "exit code ${result}\n--- expected\n${expected}--- printed\n${output}")
endif()
