# Sets `orvaneRuntimeFiles`, the files of OpenVINO that a program needs to run models of all formats on the CPU, and
# `orvaneRuntimeFolder`, the folder of the runtime's libraries.
get_target_property(orvaneRuntimeLibrary openvino::runtime LOCATION)
cmake_path(GET orvaneRuntimeLibrary PARENT_PATH orvaneRuntimeFolder)
set(orvaneRuntimeFiles)
foreach(part
        openvino openvino_c openvino_intel_cpu_plugin
        openvino_ir_frontend openvino_onnx_frontend openvino_paddle_frontend openvino_tensorflow_frontend
        openvino_tensorflow_lite_frontend
        tbb tbb12 tbbbind_2_5 hwloc)
    file(GLOB files ${orvaneRuntimeFolder}/lib${part}.so* ${orvaneRuntimeFolder}/${part}.dll)
    list(APPEND orvaneRuntimeFiles ${files})
endforeach()

if(WIN32)
    # A program finds libraries in its folder.
    foreach(file IN LISTS orvaneRuntimeFiles)
        cmake_path(GET file FILENAME name)
        file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
        file(CREATE_LINK ${file} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} SYMBOLIC COPY_ON_ERROR)
    endforeach()
elseif(ORVANE_WHEEL)
    # site-packages/orvane/{bin,lib}, beside site-packages/openvino/libs.
    set(CMAKE_INSTALL_RPATH $ORIGIN/../lib $ORIGIN/../../openvino/libs)
    set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
elseif(ORVANE_PACKAGE)
    # Programs in bin/ and libraries in lib/, or all in one folder, as in the package for .NET.
    set(CMAKE_INSTALL_RPATH $ORIGIN $ORIGIN/../lib)
else()
    # An installed program still finds the libraries that it links.
    set(CMAKE_INSTALL_RPATH $ORIGIN $ORIGIN/../lib ${orvaneRuntimeFolder})
    # Set at build time. Otherwise CMake reserves room for a longer path with empty elements, which mean the current folder.
    set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
endif()
