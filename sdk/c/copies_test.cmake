# Starts four copies of PROGRAM at once, ROUNDS times. Each has its own host process of STUB_HOST. EMULATOR runs them
# if it is set.
cmake_minimum_required(VERSION 3.25)

foreach(round RANGE 1 ${ROUNDS})
    execute_process(
        COMMAND ${EMULATOR} ${PROGRAM} copy ${STUB_HOST} 1111
        COMMAND ${EMULATOR} ${PROGRAM} copy ${STUB_HOST} 2222
        COMMAND ${EMULATOR} ${PROGRAM} copy ${STUB_HOST} 3333
        COMMAND ${EMULATOR} ${PROGRAM} copy ${STUB_HOST} 4444
        TIMEOUT 60 RESULTS_VARIABLE results OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
    if(NOT results STREQUAL "0;0;0;0")
        message(FATAL_ERROR "round ${round}: ${results}\n${printed}${errors}")
    endif()
endforeach()
