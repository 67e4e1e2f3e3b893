# Removes the scripts that run ldconfig from the packages. CPack adds them because it treats a private folder in /usr/lib as one
# that the dynamic linker searches. Debian's own tool then packs the package again.
foreach(PACKAGE IN LISTS CPACK_PACKAGE_FILES)
  set(UNPACKED "${CPACK_TEMPORARY_DIRECTORY}.unpacked")
  file(REMOVE_RECURSE "${UNPACKED}")
  execute_process(COMMAND dpkg-deb --raw-extract "${PACKAGE}" "${UNPACKED}" COMMAND_ERROR_IS_FATAL ANY)
  foreach(SCRIPT postinst postrm)
    set(SCRIPT "${UNPACKED}/DEBIAN/${SCRIPT}")
    if(EXISTS "${SCRIPT}")
      file(READ "${SCRIPT}" TEXT)
      if(TEXT MATCHES "^#!/bin/sh\n+set -e\n+if [^\n]*\n\tldconfig\nfi\n$")
        file(REMOVE "${SCRIPT}")
      endif()
    endif()
  endforeach()
  execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build "${UNPACKED}" "${PACKAGE}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${UNPACKED}")
endforeach()
