# Windows x64 with MinGW-w64, linked against the UCRT as current Microsoft compilers do.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# This GCC has no switch for the C runtime: its own specs, with the UCRT in place of the old runtime, do it.
set(kvtfile_ucrt_specs "${CMAKE_BINARY_DIR}/ucrt.specs")
if(NOT EXISTS "${kvtfile_ucrt_specs}")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpspecs OUTPUT_VARIABLE kvtfile_specs COMMAND_ERROR_IS_FATAL ANY)
    string(REPLACE "-lmsvcrt" "-lucrt" kvtfile_specs "${kvtfile_specs}")
    file(WRITE "${kvtfile_ucrt_specs}" "${kvtfile_specs}")
endif()

# The Win64 stack is only 16-byte aligned and GCC spills wider vectors to it with aligned moves (GCC bug 54412): the
# assembler turns those moves into unaligned ones.
set(kvtfile_ucrt_flags "-specs=${kvtfile_ucrt_specs} -D_UCRT -D__MSVCRT_VERSION__=0xE00 -Wa,-muse-unaligned-vector-move")
set(CMAKE_C_FLAGS_INIT "${kvtfile_ucrt_flags}")
set(CMAKE_CXX_FLAGS_INIT "${kvtfile_ucrt_flags}")

# GCC's runtime is linked in. Its threads call the old runtime's name for setjmp; the UCRT's own has the same arguments.
set(kvtfile_link_flags "-static -Wl,-u,__intrinsic_setjmp -Wl,--defsym=_setjmp=__intrinsic_setjmp")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${kvtfile_link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${kvtfile_link_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${kvtfile_link_flags}")
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine-run.sh")
