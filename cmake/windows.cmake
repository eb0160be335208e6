# orvane_windows_resources(TARGET DESCRIPTION [UTF8_ARGUMENTS]): adds the version and the manifest to a program: long
# paths, no elevation. With UTF8_ARGUMENTS the process's code page is UTF-8, so that a plain `main` gets UTF-8.
# Does nothing on other systems.
function(orvane_windows_resources target description)
    if(NOT WIN32)
        return()
    endif()
    set(codePage "")
    if("UTF8_ARGUMENTS" IN_LIST ARGN)
        string(CONCAT codePage "\n      <activeCodePage xmlns="
            "\"http://schemas.microsoft.com/SMI/2019/WindowsSettings\">UTF-8</activeCodePage>")
    endif()
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    set(fileName ${name}.exe)
    set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${target}.exe.manifest)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/windows/program.manifest.in ${manifest} @ONLY)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/windows/program.rc.in ${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
    set_property(SOURCE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc PROPERTY OBJECT_DEPENDS ${manifest})
    if(MSVC)
        target_link_options(${target} PRIVATE /MANIFEST:NO)  # the resource contains it
    endif()
endfunction()

# orvane_wide_entry(TARGET): the program's entry is wWinMain. MSVC finds it by itself, MinGW needs an option.
function(orvane_wide_entry target)
    if(MINGW)
        target_link_options(${target} PRIVATE -municode)
    endif()
endfunction()
