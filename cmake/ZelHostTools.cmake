# ZelHostTools.cmake: in a cross build, the programs of the build host
# (zel-wb-generate, which writes the white-box tables during the build, and
# the provisioning tool zel-egsk) are built from this source tree for the
# host, with the host's default compiler and none of the target's flags, in
# ${CMAKE_BINARY_DIR}/host-tools, and imported here under their own target
# names. A device maker's cross build thus works from any build host.
#
# ZEL_HOST_TOOLS_DIR names an existing build of the host tools to import
# instead (for example one shared by several target builds).
include_guard(GLOBAL)

set(ZEL_HOST_TOOLS_DIR "" CACHE PATH
    "Cross builds: an existing host build of the tools (empty: build one)")
set(zel_host_dir "${ZEL_HOST_TOOLS_DIR}")
if(NOT zel_host_dir)
  set(zel_host_dir ${CMAKE_BINARY_DIR}/host-tools)
  message(STATUS "Building the host tools in ${zel_host_dir}")
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env --unset=CFLAGS --unset=CXXFLAGS --unset=LDFLAGS
            --unset=CC --unset=CXX
            ${CMAKE_COMMAND} -S ${PROJECT_SOURCE_DIR} -B ${zel_host_dir}
            -DZEL_HOST_TOOLS_ONLY=ON -DCMAKE_BUILD_TYPE=Release
            -DZEL_WARNINGS_AS_ERRORS=${ZEL_WARNINGS_AS_ERRORS}
    RESULT_VARIABLE configured OUTPUT_QUIET)
  if(NOT configured EQUAL 0)
    message(FATAL_ERROR "Configuring the host tools failed")
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${zel_host_dir} -j2
                  RESULT_VARIABLE built)
  if(NOT built EQUAL 0)
    message(FATAL_ERROR "Building the host tools failed")
  endif()
  # Rebuilt at build time too, so that changes to the tools' sources reach
  # the generated tables.
  add_custom_target(zel_host_tools COMMAND ${CMAKE_COMMAND} --build ${zel_host_dir}
                    COMMENT "Building the host tools")
endif()

foreach(tool zel-wb-generate:whitebox/generator zel-egsk:tools/zel-egsk)
  string(REPLACE ":" ";" tool ${tool})
  list(GET tool 0 name)
  list(GET tool 1 dir)
  add_executable(${name} IMPORTED GLOBAL)
  set_target_properties(${name} PROPERTIES IMPORTED_LOCATION ${zel_host_dir}/${dir}/${name})
endforeach()
