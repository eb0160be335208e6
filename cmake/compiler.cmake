# orvane_warnings(TARGET): turns on the project's warnings, as errors.
function(orvane_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /utf-8 /W4 /permissive-)
        if(ORVANE_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE /WX)
        endif()
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
        if(ORVANE_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    endif()
endfunction()

# Options of a release build for Linux that make a fault harder to exploit: stack guards, checked copies where the compiler
# knows the size, and function addresses that are resolved at the start and then read-only. MinGW always does the third.
# With MinGW the first two need another library beside each program, so builds with MinGW do not use them.
if(NOT WIN32)
    add_compile_options($<$<CONFIG:Release>:-fstack-protector-strong>)
    add_compile_definitions($<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    add_link_options(LINKER:-z,relro,-z,now)
endif()
