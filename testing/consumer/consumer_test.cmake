# Installs the SDK from BUILD into an empty folder. Builds the consumer project outside the tree against it and runs it.
# COMPILER, C_COMPILER and FLAGS are those that built the SDK. The consumer initialises without a model. The installed
# program must run a model in a host process by itself. EMULATOR runs the programs if it is set.
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed:\n${printed}\n${errors}")
    endif()
    string(REPLACE "\r\n" "\n" printed "${printed}")
    set(printed ${printed} PARENT_SCOPE)
endfunction()

function(expect_consumer component answer)
    run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${FOLDER}/source -B ${FOLDER}/build-${component}
        -D Orvane_DIR=${FOLDER}/sdk/lib/cmake/Orvane -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_FLAGS=${FLAGS}
        -D CMAKE_C_COMPILER=${C_COMPILER}
        -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_CXX_STANDARD=17 ${ARGN})
    run(${CMAKE_COMMAND} --build ${FOLDER}/build-${component})
    run(${EMULATOR} ${FOLDER}/build-${component}/consumer${SUFFIX})
    if(NOT printed STREQUAL "${VERSION}: ${answer}\n")
        message(FATAL_ERROR "the consumer printed ${printed}")
    endif()
endfunction()

set(ENV{WINEPATH} "${LIBRARIES}\;${FOLDER}/sdk/bin")  # where Wine finds libraries
file(REMOVE_RECURSE ${FOLDER})
file(COPY ${CMAKE_CURRENT_LIST_DIR}/CMakeLists.txt ${CMAKE_CURRENT_LIST_DIR}/main.c ${CMAKE_CURRENT_LIST_DIR}/main.cpp
    DESTINATION ${FOLDER}/source)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/sdk)
expect_consumer(sdk "模型参数错误")
set(withoutOpenvino -D CMAKE_DISABLE_FIND_PACKAGE_OpenVINO=ON)
expect_consumer(client "OpenVINO is not enabled\n" -D COMPONENT=client ${withoutOpenvino})
if(NOT FLAGS MATCHES "-fsanitize")  # a C program does not link the sanitizers' runtime
    foreach(component c client_c)
        expect_consumer(${component} "there is neither a model path nor a cache path: name the file to load"
            -D COMPONENT=${component} ${withoutOpenvino})
    endforeach()
endif()
if(EXISTS ${MODEL})
    run(${EMULATOR} ${FOLDER}/sdk/bin/orvane${SUFFIX} info --remote ${MODEL})
else()
    message("SKIPPED: ${MODEL} is missing; ./dev setup downloads it")
endif()
