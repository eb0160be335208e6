# Installs the SDK from BUILD into an empty folder and builds and runs the consumer project outside the tree against
# it, with COMPILER and FLAGS as the SDK was built. The consumer initialises without a model and so must be told that
# its model parameters are wrong.
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE printed)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed:\n${printed}")
    endif()
    set(printed ${printed} PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${FOLDER})
file(COPY ${CMAKE_CURRENT_LIST_DIR}/CMakeLists.txt ${CMAKE_CURRENT_LIST_DIR}/main.cpp DESTINATION ${FOLDER}/source)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/sdk)
run(${CMAKE_COMMAND} -S ${FOLDER}/source -B ${FOLDER}/build -D CMAKE_PREFIX_PATH=${FOLDER}/sdk
    -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_FLAGS=${FLAGS} -D CMAKE_CXX_STANDARD=17)
run(${CMAKE_COMMAND} --build ${FOLDER}/build)
run(${FOLDER}/build/consumer)
if(NOT printed STREQUAL "${VERSION}: 模型参数错误\n")
    message(FATAL_ERROR "the consumer printed ${printed}")
endif()
