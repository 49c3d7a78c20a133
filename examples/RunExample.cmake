# Runs an example and compares what it prints with what is expected.

execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
file(READ "${EXPECTED}" expected)
string(REPLACE "\r\n" "\n" printed "${printed}")
if(NOT printed STREQUAL expected)
    message(FATAL_ERROR "printed:\n${printed}\nexpected (${EXPECTED}):\n${expected}")
endif()
