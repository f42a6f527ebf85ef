# ZelCPackProject.cmake: read by cpack before it makes the packages
# (CPACK_PROJECT_CONFIG_FILE, see cmake/ZelPackaging.cmake).
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

# Each package's description carries its own synopsis line; CPack would
# put the project's one-line description in front of it.
unset(CPACK_PACKAGE_DESCRIPTION_SUMMARY)

# The packages' version comes from the build; the changelog must have an
# entry for it.
find_program(ZEL_DPKG_PARSECHANGELOG dpkg-parsechangelog)
if(NOT ZEL_DPKG_PARSECHANGELOG)
  message(FATAL_ERROR "Debian packages need dpkg-dev (dpkg-parsechangelog, dpkg-shlibdeps)")
endif()
execute_process(COMMAND ${ZEL_DPKG_PARSECHANGELOG} -l "${CPACK_ZEL_CHANGELOG_FILE}" -SVersion
                OUTPUT_VARIABLE zel_changelog_version OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
set(zel_package_version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
if(NOT zel_changelog_version STREQUAL zel_package_version)
  message(FATAL_ERROR "${CPACK_ZEL_CHANGELOG_FILE} starts with version "
          "${zel_changelog_version}, the packages are ${zel_package_version}: "
          "add an entry for ${zel_package_version}")
endif()

# Reproducible packages: every time stamp in them is the changelog's latest
# date unless SOURCE_DATE_EPOCH says otherwise.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND ${ZEL_DPKG_PARSECHANGELOG} -l "${CPACK_ZEL_CHANGELOG_FILE}" -STimestamp
                  OUTPUT_VARIABLE zel_timestamp OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{SOURCE_DATE_EPOCH} "${zel_timestamp}")
endif()

# dpkg-shlibdeps resolves the libraries a cross-built (i386) binary needs
# through the installed packages of that architecture: without them it
# would take the biarch copies (lib32stdc++6, libc6-i386) and write
# dependencies that no i386 system has.
execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE zel_build_arch
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT CPACK_DEBIAN_PACKAGE_ARCHITECTURE STREQUAL zel_build_arch)
  set(zel_missing)
  foreach(package libc6 libgcc-s1 libstdc++6)
    execute_process(COMMAND dpkg-query -W -f=\${Status} ${package}:${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}
                    OUTPUT_VARIABLE zel_status ERROR_QUIET)
    if(NOT zel_status MATCHES "install ok installed")
      list(APPEND zel_missing ${package}:${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})
    endif()
  endforeach()
  if(zel_missing)
    list(JOIN zel_missing " " zel_missing)
    message(FATAL_ERROR "Packages for ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE} need that "
            "architecture's C and C++ runtime installed for dpkg-shlibdeps: "
            "dpkg --add-architecture ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}; apt-get update; "
            "apt-get install ${zel_missing}")
  endif()
endif()
set(ENV{DEB_HOST_ARCH} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
