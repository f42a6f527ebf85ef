# Installation: the three libraries, the public headers flat in
# include/zel_secure_store/, a pkg-config file and a CMake package
# (find_package(zel_secure_store CONFIG), target zel::secure_store).

set(ZEL_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/zel_secure_store)

# Installed side by side, the libraries find each other through $ORIGIN,
# whatever search path the program that loads them carries.
set_target_properties(hevo_base zel_logging zel_secure_store PROPERTIES
  INSTALL_RPATH "$ORIGIN")

install(TARGETS hevo_base zel_logging zel_secure_store
  EXPORT zel_secure_store_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(FILES
  ${ZEL_PLATFORM_PUBLIC_HEADERS}
  ${ZEL_STORE_PUBLIC_HEADERS}
  ${ZEL_WHITEBOX_PUBLIC_HEADERS}
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel_secure_store)

install(EXPORT zel_secure_store_targets
  NAMESPACE zel::
  FILE zel_secure_store-targets.cmake
  DESTINATION ${ZEL_INSTALL_CMAKEDIR})

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
  DESTINATION ${ZEL_INSTALL_CMAKEDIR})

file(RELATIVE_PATH ZEL_PC_TO_PREFIX
     "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zel_secure_store.pc.in
               ${PROJECT_BINARY_DIR}/zel_secure_store.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zel_secure_store.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
