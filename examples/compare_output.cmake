# Runs PROGRAM with ARGUMENTS and fails unless it succeeds and prints exactly what EXPECTED holds.
execute_process(COMMAND "${PROGRAM}" ${ARGUMENTS} OUTPUT_VARIABLE printed RESULT_VARIABLE status)
file(READ "${EXPECTED}" expected)
if(NOT status EQUAL 0 OR NOT printed STREQUAL expected)
  message(FATAL_ERROR "exit status ${status}, printed:\n${printed}\ninstead of:\n${expected}")
endif()
