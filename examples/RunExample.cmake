# Runs an example and compares what it prints with what is expected.

set(input)
if(INPUT)
    set(input INPUT_FILE "${INPUT}")
endif()
execute_process(COMMAND ${COMMAND} ${input} OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
file(READ "${EXPECTED}" expected)
string(REPLACE "\r\n" "\n" printed "${printed}")
if(NOT printed STREQUAL expected)
    message(FATAL_ERROR "printed:\n${printed}\nexpected (${EXPECTED}):\n${expected}")
endif()
