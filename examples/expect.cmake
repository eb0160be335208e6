# expect(EXIT TEXT command...): runs the command in FOLDER, with EMULATOR if it is set. Checks the exit value, and that
# TEXT matches the output, or the errors if EXIT is not 0. Messages of the runtime may come before an error. Sets
# `printed` to that output.
function(expect exit text)
    execute_process(COMMAND ${EMULATOR} ${ARGN} WORKING_DIRECTORY ${FOLDER} TIMEOUT 150
        RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
    if(NOT exit EQUAL 0)
        set(printed "${errors}")
    endif()
    string(REPLACE "\r\n" "\n" printed "${printed}")
    if(NOT result STREQUAL "${exit}" OR NOT printed MATCHES "${text}")
        message(FATAL_ERROR "${ARGN}: expected exit ${exit} and \"${text}\", got exit ${result} and\n${printed}${errors}")
    endif()
    set(printed "${printed}" PARENT_SCOPE)
endfunction()

# Skips the test, with a message, unless all of these files exist.
macro(need)
    foreach(file ${ARGN})
        if(NOT EXISTS ${file})
            message("SKIPPED: ${file} is missing; ./dev setup downloads it")
            return()
        endif()
    endforeach()
endmacro()
