# ZelCrossEmulator.cmake: in a cross build, decides how CTest runs the
# target's programs. A small program is built for the target and run once:
# where the host runs it, tests run natively; where it cannot ("Exec format
# error"), or when ZEL_FORCE_EMULATOR is on, they run through qemu-user
# (CMAKE_CROSSCOMPILING_EMULATOR). A CMAKE_CROSSCOMPILING_EMULATOR given
# on the command line is kept.
option(ZEL_FORCE_EMULATOR
       "Cross builds: run the target's programs through qemu-user even where the host runs them" OFF)
if(NOT CMAKE_CROSSCOMPILING OR CMAKE_CROSSCOMPILING_EMULATOR)
  return()
endif()

set(probe_dir ${CMAKE_BINARY_DIR}/CMakeFiles/zel-exec-probe)
file(WRITE ${probe_dir}/probe.c "int main(void) { return 0; }\n")
try_compile(probe_built ${probe_dir} ${probe_dir}/probe.c
            COPY_FILE ${probe_dir}/probe)
set(probe_result "not built")
if(probe_built)
  execute_process(COMMAND ${probe_dir}/probe RESULT_VARIABLE probe_result
                  OUTPUT_QUIET ERROR_QUIET)
endif()

if(ZEL_FORCE_EMULATOR OR NOT probe_result STREQUAL "0")
  find_program(ZEL_QEMU_USER NAMES qemu-${CMAKE_SYSTEM_PROCESSOR} qemu-i386
                                   qemu-i386-static REQUIRED)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ZEL_QEMU_USER})
  message(STATUS "Target programs run through ${ZEL_QEMU_USER} "
                 "(host run: ${probe_result}; forced: ${ZEL_FORCE_EMULATOR})")
else()
  message(STATUS "Target programs run natively on this host")
endif()
