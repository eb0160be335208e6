# Runs PROGRAM on the pictures in MATERIAL, in process and with the host program HOST. Empties FOLDER and writes to it.
# EMULATOR runs PROGRAM if it is set.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/../expect.cmake)

set(model ${MATERIAL}/face_detection_short_range.tflite)
set(astronaut ${MATERIAL}/astronaut.png)
set(coffee ${MATERIAL}/coffee.png)
need(${model} ${astronaut} ${coffee})

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/folder)
file(WRITE ${FOLDER}/text "no picture and no model")
file(WRITE ${FOLDER}/kept.png "an earlier file")

# The face spans x 180..275 and y 75..180, measured by eye. With wrongly scaled colours the score is still 0.90.
set(box "score 0[.]9[1-9], box x 1[6-9][0-9][.][.]2[678][0-9], y [6-9][0-9][.][.]1[6-9][0-9]")
expect(0 "^astronaut.png: 1 face\n  ${box}\n$" ${PROGRAM} ${model} ${astronaut} 人脸.png)
set(inProcess "${printed}")
expect(0 "^astronaut.png: 1 face\n" ${PROGRAM} ${model} ${astronaut} remote.png ${HOST})
file(SHA256 ${FOLDER}/人脸.png drawn)
file(SHA256 ${FOLDER}/remote.png drawnRemotely)
if(NOT printed STREQUAL inProcess OR NOT drawn STREQUAL drawnRemotely)
    message(FATAL_ERROR "the result of the host process differs:\n${printed}")
endif()
expect(0 "^人脸.png: 1 face\n" ${PROGRAM} ${model} 人脸.png)  # the written file is a picture
expect(0 "^coffee.png: no face\n$" ${PROGRAM} ${model} ${coffee})

# fails(TEXT argument...): checks that the program fails and prints TEXT.
macro(fails text)
    expect(1 "face_detection: ${text}" ${PROGRAM} ${ARGN})
endmacro()
foreach(out new.png kept.png)
    fails("cannot load missing.tflite, pass the face detector" missing.tflite ${astronaut} ${out})
    fails("cannot load .*pass the face .*path of orvane_host:\n.*missing cannot be started" ${model} ${astronaut} ${out} missing)
    fails("cannot load .*coffee.png, pass the face detector" ${coffee} ${astronaut} ${out})
    fails("cannot read missing.png: " ${model} missing.png ${out})
    fails("cannot read folder: " ${model} folder ${out})
    fails("text is not a picture .*PNG, JPEG or BMP" ${model} text ${out})
endforeach()
fails("cannot write missing/new.png: .*folder exists" ${model} ${astronaut} missing/new.png)
fails("cannot write folder: .*name a file" ${model} ${astronaut} folder)
expect(2 "^usage: face_detection MODEL PICTURE" ${PROGRAM} ${model})

file(READ ${FOLDER}/kept.png kept)
file(GLOB left RELATIVE ${FOLDER} ${FOLDER}/*)
if(NOT kept STREQUAL "an earlier file" OR NOT left STREQUAL "folder;kept.png;remote.png;text;人脸.png")
    message(FATAL_ERROR "a failed run changed its folder: ${left}")
endif()
