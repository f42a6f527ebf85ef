# Installation: the three libraries, the public headers flat in
# include/zel_secure_store/, a pkg-config file and a CMake package
# (find_package(zel_secure_store CONFIG), target zel::secure_store).
#
# Install components (each becomes one Debian package, cmake/ZelPackaging.cmake):
#   runtime     the three shared libraries (libfoo.so.1 and its real file)
#   dev         headers, the libfoo.so links, the pkg-config file and the
#               CMake package
#   tools       device-side commands, installed by their own CMakeLists
#   host-tools  build/provisioning-host programs, likewise

set(ZEL_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/zel_secure_store)

# Installed side by side, the libraries find each other through $ORIGIN,
# whatever search path the program that loads them carries.
set_target_properties(hevo_base zel_logging zel_secure_store PROPERTIES
  INSTALL_RPATH "$ORIGIN")

install(TARGETS hevo_base zel_logging zel_secure_store
  EXPORT zel_secure_store_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

install(FILES
  ${ZEL_PLATFORM_PUBLIC_HEADERS}
  ${ZEL_STORE_PUBLIC_HEADERS}
  ${ZEL_WHITEBOX_PUBLIC_HEADERS}
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel_secure_store
  COMPONENT dev)

install(EXPORT zel_secure_store_targets
  NAMESPACE zel::
  FILE zel_secure_store-targets.cmake
  DESTINATION ${ZEL_INSTALL_CMAKEDIR}
  COMPONENT dev)

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/zel_secure_store-config.cmake.in
  ${PROJECT_BINARY_DIR}/zel_secure_store-config.cmake
  INSTALL_DESTINATION ${ZEL_INSTALL_CMAKEDIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/zel_secure_store-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/zel_secure_store-config.cmake
  ${PROJECT_BINARY_DIR}/zel_secure_store-config-version.cmake
  DESTINATION ${ZEL_INSTALL_CMAKEDIR}
  COMPONENT dev)

# The pkg-config file comes in two variants, chosen when it is installed:
# where the libraries land in a directory the dynamic loader searches by
# itself (/usr/lib/<multiarch>, as in the Debian packages), Libs carries no
# run path; anywhere else (/usr/local, /opt/..., a staging prefix) it adds
# -Wl,-rpath,${libdir}, so that a program linked with it starts without
# LD_LIBRARY_PATH. The system directories are the ones CMake itself leaves
# out of run paths (the toolchain's implicit link directories) and the
# multiarch ones of the target.
file(RELATIVE_PATH ZEL_PC_TO_PREFIX
     "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" ZEL_PC_TO_PREFIX "${ZEL_PC_TO_PREFIX}")
foreach(variant system prefix)
  if(variant STREQUAL "prefix")
    set(ZEL_PC_RPATH " -Wl,-rpath,\${libdir}")
  else()
    set(ZEL_PC_RPATH "")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/zel_secure_store.pc.in
                 ${PROJECT_BINARY_DIR}/pkgconfig-${variant}/zel_secure_store.pc @ONLY)
endforeach()
set(zel_system_libdirs ${CMAKE_PLATFORM_IMPLICIT_LINK_DIRECTORIES}
    ${CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES})
if(CMAKE_LIBRARY_ARCHITECTURE)
  list(APPEND zel_system_libdirs /lib/${CMAKE_LIBRARY_ARCHITECTURE}
       /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
list(REMOVE_DUPLICATES zel_system_libdirs)
install(CODE "
  set(ZEL_PC_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(ZEL_PC_VARIANTS_DIR \"${PROJECT_BINARY_DIR}\")
  set(ZEL_PC_SYSTEM_LIBDIRS \"${zel_system_libdirs}\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/ZelInstallPkgConfig.cmake\")"
  COMPONENT dev)
