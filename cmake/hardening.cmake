# What a release build for Linux does so that a fault is harder to use: guards on the stack, checked copies where the
# compiler knows the size, and addresses of functions that are resolved at the start and then read-only. With MinGW the
# first two need a library of their own beside each program, and are left out; the third is always so there.
if(NOT WIN32)
    add_compile_options($<$<CONFIG:Release>:-fstack-protector-strong>)
    add_compile_definitions($<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    add_link_options(LINKER:-z,relro,-z,now)
endif()
