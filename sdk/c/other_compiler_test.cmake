# In FOLDER, compiles SOURCE to the object format of Visual Studio's compiler. LLVM's linker links it with
# IMPORT_LIBRARY and an import library of kernel32. EMULATOR runs it with MODEL. INCLUDE has the header, LIBRARIES has
# the DLLs.
cmake_minimum_required(VERSION 3.25)
if(NOT EXISTS ${MODEL})
    message("SKIPPED: ${MODEL} is missing; ./dev setup downloads it")
    return()
endif()
file(WRITE ${FOLDER}/kernel32.def "LIBRARY kernel32.dll\nEXPORTS\nExitProcess\nGetCommandLineA\nGetStdHandle\nWriteFile\n")
set(target --target=x86_64-pc-windows-msvc)
foreach(command
        "${DLLTOOL};-m;i386:x86-64;-d;${FOLDER}/kernel32.def;-l;${FOLDER}/kernel32.lib"
        "${CLANG};${target};-std=c11;-O2;-Wall;-Wextra;-Werror;-ffreestanding;-fno-stack-protector;-mno-stack-arg-probe;-I;${INCLUDE};-c;${SOURCE};-o;${FOLDER}/client.obj"
        "${LLD_LINK};/entry:Entry;/subsystem:console;/nodefaultlib;/out:${FOLDER}/client.exe;${FOLDER}/client.obj;${IMPORT_LIBRARY};${FOLDER}/kernel32.lib")
    execute_process(COMMAND ${command} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
set(ENV{WINEPATH} ${LIBRARIES})  # where Wine finds libraries
execute_process(COMMAND ${EMULATOR} ${FOLDER}/client.exe ${MODEL} OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
if(NOT printed STREQUAL "the same\n")
    message(FATAL_ERROR "it printed: ${printed}")
endif()
