if(BUILD_TESTING)
    if(CMAKE_CROSSCOMPILING)
        # For other systems, Debian has only the sources of GoogleTest.
        set(INSTALL_GTEST OFF)
        add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    else()
        find_package(GTest REQUIRED)
    endif()
    include(GoogleTest)

    # For programs that start the runtime. Keeps one of its libraries loaded until the leak check, so that lsan.supp can
    # name it.
    add_library(orvane_kept_runtime INTERFACE)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=address")
        find_package(OpenVINO REQUIRED COMPONENTS TensorFlow HINTS ${OpenVINO_DIR})
        target_link_libraries(orvane_kept_runtime INTERFACE openvino::frontend::tensorflow)
    endif()
endif()

# For tests that create channels. On Windows the names of shared objects contain the program's load address, which is the
# same for all programs that MinGW links, so only one such test runs at a time.
if(WIN32)
    set(ORVANE_CHANNEL_LOCK RESOURCE_LOCK channels)
endif()

# orvane_test(NAME SOURCES file... [LIBRARIES target...] [PROGRAMS target...] [PROPERTIES property value...]): a
# GoogleTest program, and the programs that it starts. PROPERTIES apply to each of its tests. Tests that start the inference
# runtime have the label `runtime`.
function(orvane_test name)
    if(NOT BUILD_TESTING)
        return()
    endif()
    cmake_parse_arguments(PARSE_ARGV 1 TEST "" "" "SOURCES;LIBRARIES;PROGRAMS;PROPERTIES")
    add_executable(${name} ${TEST_SOURCES})
    if(TEST_PROGRAMS)
        add_dependencies(${name} ${TEST_PROGRAMS})
    endif()
    orvane_warnings(${name})
    # Optimising GoogleTest's macros takes twice as long as compiling them. The C library's checks in a release need -O1.
    if(NOT MSVC)
        target_compile_options(${name} PRIVATE $<IF:$<CONFIG:Release>,-O1,-O0>)
    endif()
    # Test sources may have helpers of the same name.
    set_target_properties(${name} PROPERTIES UNITY_BUILD OFF)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${TEST_LIBRARIES} GTest::gtest_main)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 300 PROPERTIES TIMEOUT 120 ${TEST_PROPERTIES})
    foreach(source IN LISTS TEST_SOURCES)
        cmake_path(ABSOLUTE_PATH source)
        set_property(GLOBAL APPEND PROPERTY ORVANE_TEST_SOURCES ${source})
    endforeach()
endfunction()

# orvane_skipped_test(NAME REASON source...): a test program that this build cannot compile. It counts as skipped.
function(orvane_skipped_test name reason)
    if(NOT BUILD_TESTING)
        return()
    endif()
    add_test(NAME ${name} COMMAND ${CMAKE_COMMAND} -E echo "SKIPPED: ${reason}")
    set_tests_properties(${name} PROPERTIES SKIP_REGULAR_EXPRESSION "SKIPPED: ")
    foreach(source IN LISTS ARGN)
        cmake_path(ABSOLUTE_PATH source)
        set_property(GLOBAL APPEND PROPERTY ORVANE_TEST_SOURCES ${source})
    endforeach()
endfunction()

# Fails if a test source belongs to no test program.
function(orvane_check_test_sources)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS
        ${PROJECT_SOURCE_DIR}/core/*_test.cpp ${PROJECT_SOURCE_DIR}/platform/*_test.cpp
        ${PROJECT_SOURCE_DIR}/backends/*_test.cpp ${PROJECT_SOURCE_DIR}/cli/*_test.cpp
        ${PROJECT_SOURCE_DIR}/examples/*_test.cpp ${PROJECT_SOURCE_DIR}/host/*_test.cpp
        ${PROJECT_SOURCE_DIR}/ipc/*_test.cpp ${PROJECT_SOURCE_DIR}/sdk/*_test.cpp
        ${PROJECT_SOURCE_DIR}/testing/*_test.cpp)
    get_property(known GLOBAL PROPERTY ORVANE_TEST_SOURCES)
    list(REMOVE_ITEM found ${known})
    if(found)
        message(FATAL_ERROR "These test sources are in no target: ${found}")
    endif()
endfunction()
