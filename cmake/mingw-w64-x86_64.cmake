# Cross-compiling for 64-bit Windows with Debian's mingw-w64 toolchain
# (packages g++-mingw-w64-x86-64 and binutils-mingw-w64-x86-64):
#
#   cmake -S . -B build-win -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake
#
# The posix flavour of the compilers is taken: its C++ library has std::thread
# and std::mutex, which the tests use. Everything is linked statically (libgcc,
# libstdc++ and the winpthread library under it), so that the DLL, the tool and
# the tests need no DLL of the toolchain at run time: the DLL imports only
# KERNEL32.dll and msvcrt.dll.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(DOMPARSE_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${DOMPARSE_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${DOMPARSE_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${DOMPARSE_MINGW_TRIPLET}-windres)
set(CMAKE_AR ${DOMPARSE_MINGW_TRIPLET}-ar CACHE FILEPATH "archiver")
set(CMAKE_RANLIB ${DOMPARSE_MINGW_TRIPLET}-ranlib CACHE FILEPATH "ranlib")
set(CMAKE_OBJDUMP ${DOMPARSE_MINGW_TRIPLET}-objdump CACHE FILEPATH "objdump")

# Headers and libraries come from the target's tree only; programs run on the
# build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${DOMPARSE_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(DOMPARSE_STATIC_RUNTIME "-static -static-libgcc -static-libstdc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${DOMPARSE_STATIC_RUNTIME}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${DOMPARSE_STATIC_RUNTIME}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${DOMPARSE_STATIC_RUNTIME}")

# The project's CMakeLists.txt starts the programs it builds under Wine, with
# the Wine prefix of the build folder (cmake/wine-run.sh), unless
# CMAKE_CROSSCOMPILING_EMULATOR names another runner.
