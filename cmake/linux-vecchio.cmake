# Linux x86-64 for systems older than this one: this compiler with the C library and libstdc++ of
# Debian 11, from a root that scripts/package lays out. Newer headers would ask for newer symbols.
set(VARNO_RADICE "${CMAKE_CURRENT_LIST_DIR}/../build/radici/bullseye" CACHE PATH
    "Debian 11 with libstdc++-10-dev")
get_filename_component(radice "${VARNO_RADICE}" ABSOLUTE)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_SYSROOT "${radice}")
set(gcc "/usr/lib/gcc/x86_64-linux-gnu/10")
set(CMAKE_CXX_FLAGS_INIT "-nostdinc++ -isystem =/usr/include/c++/10 -isystem =/usr/include/x86_64-linux-gnu/c++/10")
# Debian's g++ looks into this system's folders before the root's, unless told.
set(prima "-B${radice}${gcc} -B${radice}/usr/lib/x86_64-linux-gnu")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${prima}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${prima}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VARNO_RADICE)
