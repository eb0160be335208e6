# Asks the loader which libraries two programs load. A client must load no library of the inference runtime. A host
# process must load some, which shows that the listing works.
foreach(program CLIENT HOST)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env LD_TRACE_LOADED_OBJECTS=1 ${${program}}
        OUTPUT_VARIABLE ${program}_LIBRARIES COMMAND_ERROR_IS_FATAL ANY)
endforeach()
if(NOT HOST_LIBRARIES MATCHES "openvino")
    message(FATAL_ERROR "${HOST} should load the inference runtime, but loads only:\n${HOST_LIBRARIES}")
endif()
if(CLIENT_LIBRARIES MATCHES "openvino" OR NOT CLIENT_LIBRARIES MATCHES "libc\\.")
    message(FATAL_ERROR "${CLIENT} should load nothing of the inference runtime, but loads:\n${CLIENT_LIBRARIES}")
endif()

# An empty element of a library path means the current folder. The loader could load any library from there.
find_program(READELF readelf REQUIRED)
execute_process(COMMAND ${READELF} -d ${HOST} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
if(dynamic MATCHES "R(UN)?PATH[^\n]*(\\[:|::|:\\])" OR NOT dynamic MATCHES "BIND_NOW")
    message(FATAL_ERROR "${HOST} has an empty element in its RUNPATH, or resolves functions late:\n${dynamic}")
endif()
