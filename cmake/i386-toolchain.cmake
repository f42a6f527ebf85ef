# i386-toolchain.cmake: builds for the device (32-bit x86 Linux) with the
# host's multilib GCC. It marks the build as a cross build, so that the
# programs that run during the build (the white-box table generator) and
# the provisioning tool come from a separate build for the build host
# (cmake/ZelHostTools.cmake), and CTest runs the target's programs through
# an emulator where the host cannot run them (cmake/ZelCrossEmulator.cmake).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_ASM_FLAGS_INIT -m32)
set(CMAKE_EXE_LINKER_FLAGS_INIT -m32)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -m32)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
