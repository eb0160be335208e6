# Runs PROGRAM in FOLDER with models in MATERIAL, and crashes its host process. EMULATOR runs PROGRAM if it is set.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/../expect.cmake)

set(models ${MATERIAL}/face_detection_short_range.tflite ${MATERIAL}/silero_vad_openvino_16k.onnx)
need(${models})

string(CONCAT story "^In this process: the model runs\nIn a host process: the same bits\n"
    "Running until the host process ends\nCrashing the host process\n"
    "A call failed: [a-z' ]+: Orvane Host Exit\nIn a new host process: the same bits\n$")
foreach(model ${models})
    expect(0 "${story}" ${PROGRAM} --crash ${model})
endforeach()

list(GET models 0 model)
expect(2 "^usage: host_recovery .--crash. MODEL" ${PROGRAM} --crash)
expect(1 "cannot load missing:\n.*missing" ${PROGRAM} missing)
expect(1 "cannot load ${model} in a process of missing:\nCreateProcessAsUser error\n$" ${PROGRAM} ${model} missing)
expect(1 "cannot load ${model} in a process of ${PROGRAM}: Orvane Host Exit\n$" ${PROGRAM} ${model} ${PROGRAM})
