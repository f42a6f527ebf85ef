# ZelInstallPkgConfig.cmake: runs at install time (cmake --install, cpack)
# and installs the variant of zel_secure_store.pc that suits the prefix
# being installed to (see cmake/ZelInstall.cmake). Inputs:
#   ZEL_PC_LIBDIR          the library directory, relative to the prefix
#   ZEL_PC_VARIANTS_DIR    the build tree (holds pkgconfig-system/ and
#                          pkgconfig-prefix/)
#   ZEL_PC_SYSTEM_LIBDIRS  directories the dynamic loader searches itself
# A DESTDIR (cpack stages that way) does not count: the prefix is where the
# files will finally be.
get_filename_component(zel_pc_libdir "${CMAKE_INSTALL_PREFIX}/${ZEL_PC_LIBDIR}" ABSOLUTE)
list(FIND ZEL_PC_SYSTEM_LIBDIRS "${zel_pc_libdir}" zel_pc_system)
if(zel_pc_system EQUAL -1)
  set(zel_pc_variant prefix)
else()
  set(zel_pc_variant system)
endif()
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${ZEL_PC_LIBDIR}/pkgconfig" TYPE FILE
     FILES "${ZEL_PC_VARIANTS_DIR}/pkgconfig-${zel_pc_variant}/zel_secure_store.pc")
