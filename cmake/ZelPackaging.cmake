# ZelPackaging.cmake: Debian packages of a build tree, made with
#   cpack -G DEB            (in the build tree, after the build)
# One package per install component (cmake/ZelInstall.cmake):
#   runtime     libzel-secure-store1          the shared libraries
#   dev         libzel-secure-store-dev       headers, .so links, pkg-config,
#                                             CMake package
#   tools       zel-secure-store-tools        device-side commands
#   host-tools  zel-secure-store-host-tools   provisioning-host programs
# Components without install rules in this build (host tools in a cross
# build, tools not yet written) give no package. The architecture is the
# target's (i386 for the i386 preset), files live under /usr, the
# libraries in /usr/lib/<multiarch>. At cpack time
# cmake/ZelCPackProject.cmake fixes the time stamps and the dependency
# look-up, and cmake/ZelPackageStage.cmake adds the Debian files of each
# package (copyright, changelog, gzipped manual pages).
include_guard(GLOBAL)

set(CPACK_ZEL_DEBIAN_DIR "${PROJECT_SOURCE_DIR}/cmake/debian")
set(ZEL_PACKAGE_MAINTAINER "libzel_secure_store maintainers <maintainers@zel-secure-store.example>"
    CACHE STRING "Maintainer field of the Debian packages")
set(ZEL_PACKAGE_HOMEPAGE "" CACHE STRING "Homepage field of the Debian packages (none when empty)")
set(ZEL_PACKAGE_RELEASE 1 CACHE STRING "Debian revision of the packages")
set(ZEL_PACKAGE_COPYRIGHT_FILE "${CPACK_ZEL_DEBIAN_DIR}/copyright" CACHE FILEPATH
    "usr/share/doc/<package>/copyright of every package")
set(ZEL_PACKAGE_CHANGELOG_FILE "${CPACK_ZEL_DEBIAN_DIR}/changelog" CACHE FILEPATH
    "Debian changelog of the packages; its first entry names the packages' version")

# Every install rule names one of the four components; a rule without one
# lands in "Unspecified", which no package takes (scripts/check-packages.sh
# fails on any installed file that no package holds).
get_cmake_property(zel_components COMPONENTS)
set(CPACK_COMPONENTS_ALL)
foreach(component runtime dev tools host-tools)
  if(component IN_LIST zel_components)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
  endif()
endforeach()
list(REMOVE_ITEM zel_components ${CPACK_COMPONENTS_ALL})
if(zel_components)
  message(WARNING "Install components that no Debian package takes: ${zel_components} "
                  "(install() rules take COMPONENT runtime, dev, tools or host-tools)")
endif()

# The package architecture is the target's, not the build host's.
set(zel_deb_arch "")
find_program(ZEL_DPKG_ARCHITECTURE dpkg-architecture)
mark_as_advanced(ZEL_DPKG_ARCHITECTURE)
if(ZEL_DPKG_ARCHITECTURE AND CMAKE_LIBRARY_ARCHITECTURE)
  execute_process(COMMAND ${ZEL_DPKG_ARCHITECTURE} -t${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
                  OUTPUT_VARIABLE zel_deb_arch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT zel_deb_arch AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i.86)$")
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(zel_deb_arch i386)
  else()
    set(zel_deb_arch amd64)
  endif()
endif()
if(zel_deb_arch)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${zel_deb_arch})
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zel-secure-store)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${ZEL_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Installed as DESTDIR=<stage> with the prefix /usr, so that install-time
# code (the pkg-config variant) sees the final prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${ZEL_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SOURCE zel-secure-store)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZEL_PACKAGE_MAINTAINER}")
if(ZEL_PACKAGE_HOMEPAGE)
  set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${ZEL_PACKAGE_HOMEPAGE}")
endif()
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Dependencies on libc and libstdc++ from dpkg-shlibdeps; the programs'
# dependency on the runtime package is a component dependency below (its
# libraries are found in the build tree, where they have no shlibs file).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${PROJECT_BINARY_DIR}/source;${PROJECT_BINARY_DIR}/platform")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# The runtime package's shlibs file: programs built against version V need
# the runtime package at V or later.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(zel_summary "encrypted credential store for devices")
set(zel_about "libzel_secure_store keeps a device's credentials (PEM keys, CA\n"
              "certificates, certificates) in persistent storage, each in its own\n"
              "file, encrypted with AES-CBC under a store key and IV built into the\n"
              "library.\n")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzel-secure-store${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# ldconfig runs through dpkg's trigger (CPack adds its own ldconfig calls
# to postinst and postrm as well).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${CPACK_ZEL_DEBIAN_DIR}/triggers")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
string(CONCAT CPACK_DEBIAN_RUNTIME_DESCRIPTION "${zel_summary} (shared libraries)\n"
  ${zel_about} ".\n"
  "This package holds the shared libraries: libzel_secure_store and the\n"
  "base and logging libraries it is built on (libhevo_base,\n"
  "libzel_logging).")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzel-secure-store-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
string(CONCAT CPACK_DEBIAN_DEV_DESCRIPTION "${zel_summary} (development files)\n"
  ${zel_about} ".\n"
  "This package holds the headers, the links to the libraries, the\n"
  "pkg-config file (zel_secure_store) and the CMake package\n"
  "(find_package(zel_secure_store CONFIG), target zel::secure_store).")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zel-secure-store-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
string(CONCAT CPACK_DEBIAN_TOOLS_DESCRIPTION "${zel_summary} (device commands)\n"
  ${zel_about} ".\n"
  "This package holds the commands for the device: zel-keychain stores,\n"
  "lists, reads, verifies and erases keychains, on the factory line and\n"
  "in the field.")

set(CPACK_DEBIAN_HOST-TOOLS_PACKAGE_NAME zel-secure-store-host-tools)
set(CPACK_DEBIAN_HOST-TOOLS_PACKAGE_SECTION utils)
string(CONCAT CPACK_DEBIAN_HOST-TOOLS_DESCRIPTION "${zel_summary} (provisioning host tools)\n"
  ${zel_about} ".\n"
  "This package holds the programs of the provisioning host: zel-egsk\n"
  "makes a product's key material, zel-wb-audit attacks the build's\n"
  "white-box AES core and reports the key bytes it recovers.")

# Read at cpack time by the two scripts below.
set(CPACK_ZEL_COPYRIGHT_FILE "${ZEL_PACKAGE_COPYRIGHT_FILE}")
set(CPACK_ZEL_CHANGELOG_FILE "${ZEL_PACKAGE_CHANGELOG_FILE}")
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/ZelCPackProject.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/ZelPackageStage.cmake")
include(CPack)
