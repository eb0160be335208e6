# expect(EXIT TEXT command...): the command, run in FOLDER and by EMULATOR when there is one, exits so, and what it
# prints, or with a failure its errors, matches TEXT. The runtime's own remarks may stand before an error. What matched
# is then in `printed`.
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

# The test is skipped, and says so, unless all of these files are there.
macro(need)
    foreach(file ${ARGN})
        if(NOT EXISTS ${file})
            message("SKIPPED: ${file} is missing; ./dev setup fetches it")
            return()
        endif()
    endforeach()
endmacro()
