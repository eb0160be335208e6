# Runs PROGRAM with models in MATERIAL, and lets its host process crash. Programs are run by EMULATOR when there is one.
cmake_minimum_required(VERSION 3.25)

set(models ${MATERIAL}/face_detection_short_range.tflite ${MATERIAL}/silero_vad_openvino_16k.onnx)
foreach(model ${models})
    if(NOT EXISTS ${model})
        message("SKIPPED: ${model} is missing; ./dev setup fetches it")
        return()
    endif()
endforeach()

# expect(EXIT TEXT command...): the command exits so, and what it prints, or with a failure its errors, matches
# TEXT. The runtime's own remarks may stand before an error.
function(expect exit text)
    execute_process(COMMAND ${EMULATOR} ${ARGN} TIMEOUT 150
        RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
    if(NOT exit EQUAL 0)
        set(printed "${errors}")
    endif()
    string(REPLACE "\r\n" "\n" printed "${printed}")
    if(NOT result STREQUAL "${exit}" OR NOT printed MATCHES "${text}")
        message(FATAL_ERROR "${ARGN}: expected exit ${exit} and \"${text}\", got exit ${result} and\n${printed}${errors}")
    endif()
endfunction()

string(CONCAT story "^In this process: the model runs\nIn a host process: the same bits\n"
    "Running until the host process dies\nCrashing the host process\n"
    "A call failed: [a-z' ]+: Orvane Host Exit\nIn a new host process: the same bits\n$")
foreach(model ${models})
    expect(0 "${story}" ${PROGRAM} --crash ${model})
endforeach()

list(GET models 0 model)
expect(2 "^usage: host_recovery .--crash. MODEL" ${PROGRAM} --crash)
expect(1 "cannot load missing:\n.*missing" ${PROGRAM} missing)
expect(1 "cannot load ${model} in a process of missing:\nCreateProcessAsUser error\n$" ${PROGRAM} ${model} missing)
expect(1 "cannot load ${model} in a process of ${PROGRAM}: Orvane Host Exit\n$" ${PROGRAM} ${model} ${PROGRAM})
