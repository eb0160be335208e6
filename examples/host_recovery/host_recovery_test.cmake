# Runs PROGRAM with models in MATERIAL and kills its host process, by KILL_HOST. Programs are run in FOLDER, by EMULATOR
# when there is one.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/../expect.cmake)

set(models ${MATERIAL}/face_detection_short_range.tflite ${MATERIAL}/silero_vad_openvino_16k.onnx)
need(${models})

set(story "^In this process: the model runs\nIn a host process: the same bits\nRunning until the host process dies\n"
    "[+] (kill -KILL|end process) [0-9]+\nA call failed: [a-z' ]+: Orvane Host Exit\nIn a new host process: the same bits\n$")
string(CONCAT story ${story})
foreach(model ${models})
    expect(0 "${story}" ${KILL_HOST} ${PROGRAM} ${model})
endforeach()

list(GET models 0 model)
expect(2 "^usage: host_recovery MODEL" ${PROGRAM})
expect(1 "cannot load missing:\n.*missing" ${KILL_HOST} ${PROGRAM} missing)
expect(1 "cannot load ${model} in a process of missing:\nCreateProcessAsUser error\n$" ${PROGRAM} ${model} missing)
expect(1 "cannot load ${model} in a process of ${PROGRAM}: Orvane Host Exit\n$" ${PROGRAM} ${model} ${PROGRAM})
