# ZelPackageStage.cmake: runs in cpack after the components are installed
# into the staging tree and before the packages are made
# (CPACK_PRE_BUILD_SCRIPTS, see cmake/ZelPackaging.cmake). Adds what every
# Debian package carries and a plain install does not need:
#   usr/share/doc/<package>/copyright and changelog.Debian.gz
#   usr/share/lintian/overrides/<package> (cmake/debian/lintian-overrides
#   and <component>.lintian-overrides, each tag with its reason)
# and compresses the manual pages the components installed (gzip -9n: no
# name, no time stamp, the same bytes on every run).
find_program(ZEL_GZIP gzip REQUIRED)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" upper)
  set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  set(usr "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}")
  set(doc "${usr}/share/doc/${package}")

  file(MAKE_DIRECTORY "${doc}")
  file(COPY_FILE "${CPACK_ZEL_COPYRIGHT_FILE}" "${doc}/copyright")
  file(COPY_FILE "${CPACK_ZEL_CHANGELOG_FILE}" "${doc}/changelog.Debian")
  file(GLOB_RECURSE pages "${usr}/share/man/*")
  list(FILTER pages EXCLUDE REGEX "\\.gz$")
  foreach(file IN LISTS pages ITEMS "${doc}/changelog.Debian")
    file(CHMOD "${file}" FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    execute_process(COMMAND ${ZEL_GZIP} -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()

  set(overrides "${usr}/share/lintian/overrides/${package}")
  file(READ "${CPACK_ZEL_DEBIAN_DIR}/lintian-overrides" text)
  if(EXISTS "${CPACK_ZEL_DEBIAN_DIR}/${component}.lintian-overrides")
    file(READ "${CPACK_ZEL_DEBIAN_DIR}/${component}.lintian-overrides" more)
    string(APPEND text "${more}")
  endif()
  file(WRITE "${overrides}" "${text}")
  file(CHMOD "${doc}/copyright" "${overrides}"
       FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
