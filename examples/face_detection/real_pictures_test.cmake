# Runs PROGRAM on the pictures in MATERIAL, by itself and with the host program HOST; FOLDER is emptied and filled. PROGRAM is
# run by EMULATOR when there is one.
cmake_minimum_required(VERSION 3.25)

set(model ${MATERIAL}/face_detection_short_range.tflite)
set(astronaut ${MATERIAL}/astronaut.png)
set(coffee ${MATERIAL}/coffee.png)
foreach(file ${model} ${astronaut} ${coffee})
    if(NOT EXISTS ${file})
        message("SKIPPED: ${file} is missing; ./dev setup fetches it")
        return()
    endif()
endforeach()

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/folder)
file(WRITE ${FOLDER}/text "no picture and no model")
file(WRITE ${FOLDER}/kept.png "an earlier file")

# expect(EXIT TEXT argument...): the program exits so, and what it prints, or with a failure its errors, matches
# TEXT. The runtime's own remarks may stand before an error.
macro(expect exit text)
    execute_process(COMMAND ${EMULATOR} ${PROGRAM} ${ARGN} WORKING_DIRECTORY ${FOLDER}
        RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
    if(NOT ${exit} EQUAL 0)
        set(printed "${errors}")
    endif()
    string(REPLACE "\r\n" "\n" printed "${printed}")
    if(NOT result STREQUAL "${exit}" OR NOT printed MATCHES "${text}")
        message(FATAL_ERROR "${ARGN}: expected exit ${exit} and \"${text}\", got exit ${result} and\n${printed}${errors}")
    endif()
endmacro()

expect(0 "^astronaut.png: 1 face\n  score ([0-9.]+), box x ([0-9]+)[.][.]([0-9]+), y ([0-9]+)[.][.]([0-9]+)\n$"
    ${model} ${astronaut} 人脸.png)
# The face spans x 180..275 and y 75..180, measured by eye.
foreach(range "1 0.8 1.0" "2 165 195" "3 260 290" "4 60 95" "5 165 195")
    string(REPLACE " " ";" range ${range})
    list(POP_FRONT range group low high)
    if(CMAKE_MATCH_${group} LESS low OR CMAKE_MATCH_${group} GREATER high)
        message(FATAL_ERROR "expected ${low} to ${high}, got ${CMAKE_MATCH_${group}}:\n${printed}")
    endif()
endforeach()
set(inProcess "${printed}")
expect(0 "^astronaut.png: 1 face\n" ${model} ${astronaut} remote.png ${HOST})
file(SHA256 ${FOLDER}/人脸.png drawn)
file(SHA256 ${FOLDER}/remote.png drawnRemotely)
if(NOT printed STREQUAL inProcess OR NOT drawn STREQUAL drawnRemotely)
    message(FATAL_ERROR "in a host process it is something else:\n${printed}")
endif()
expect(0 "^人脸.png: 1 face\n" ${model} 人脸.png)  # what was written is a picture
expect(0 "^coffee.png: no face\n$" ${model} ${coffee})

foreach(out new.png kept.png)
    expect(1 "face_detection: cannot load missing.tflite, give the face detector" missing.tflite ${astronaut} ${out})
    expect(1 "give the face .*path of orvane_host:\nCreateProcessAsUser error\n$" ${model} ${astronaut} ${out} missing)
    expect(1 "face_detection: cannot load text, give the face detector" text ${astronaut} ${out})
    expect(1 "face_detection: cannot load .*coffee.png, give the face detector" ${coffee} ${astronaut} ${out})
    expect(1 "face_detection: cannot read missing.png: " ${model} missing.png ${out})
    expect(1 "face_detection: cannot read folder: " ${model} folder ${out})
    expect(1 "face_detection: text is no picture .*PNG, JPEG or BMP" ${model} text ${out})
endforeach()
expect(1 "face_detection: cannot write missing/new.png: .*folder exists" ${model} ${astronaut} missing/new.png)
expect(1 "face_detection: cannot write folder: .*name a file" ${model} ${astronaut} folder)
expect(2 "^usage: face_detection MODEL PICTURE" ${model})

file(READ ${FOLDER}/kept.png kept)
file(GLOB left RELATIVE ${FOLDER} ${FOLDER}/*)
if(NOT kept STREQUAL "an earlier file" OR NOT left STREQUAL "folder;kept.png;remote.png;text;人脸.png")
    message(FATAL_ERROR "a failed run changed its folder: ${left}")
endif()
