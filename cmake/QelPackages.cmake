# Installs what belongs to the programs, and makes the Debian packages: one for the tool, one for the software board. Each is an
# install component of its package's name, so either can be installed without the other.

# qel_install_compressed(<file> <folder> <name> <component>)
# Debian wants manual pages and change logs compressed, without a time stamp.
function(qel_install_compressed FILE FOLDER NAME COMPONENT)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${FILE}")
  set(COMPRESSED "${CMAKE_BINARY_DIR}/compressed/${NAME}.gz")
  file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/compressed")
  execute_process(COMMAND gzip -9nc "${CMAKE_CURRENT_SOURCE_DIR}/${FILE}" OUTPUT_FILE "${COMPRESSED}"
    COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${COMPRESSED}" DESTINATION "${FOLDER}" COMPONENT ${COMPONENT})
endfunction()

# qel_install_program_pages(<program> <component>)
# Installs a program's manual page and completions, and the copyright and change log of its package.
function(qel_install_program_pages PROGRAM COMPONENT)
  qel_install_compressed(man/${PROGRAM}.1 "${CMAKE_INSTALL_MANDIR}/man1" ${PROGRAM}.1 ${COMPONENT})
  install(FILES completions/${PROGRAM}.bash DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    RENAME ${PROGRAM} COMPONENT ${COMPONENT})
  install(FILES completions/_${PROGRAM} DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions"
    COMPONENT ${COMPONENT})
  set(PAPERS "${CMAKE_INSTALL_DATADIR}/doc/${COMPONENT}")
  install(FILES packaging/copyright DESTINATION "${PAPERS}" COMPONENT ${COMPONENT})
  qel_install_compressed(packaging/changelog "${PAPERS}" changelog ${COMPONENT})
endfunction()

# qel_install_units(<component> <file>...)
function(qel_install_units COMPONENT)
  list(TRANSFORM ARGN PREPEND packaging/systemd/)
  install(FILES ${ARGN} DESTINATION lib/systemd/system COMPONENT ${COMPONENT})
endfunction()

set(COMPONENTS qel-progress-bar-display)
qel_install_program_pages(QelProgressBarDisplay qel-progress-bar-display)
if(TARGET QelBoardCheck)
  qel_install_program_pages(QelBoardCheck qel-progress-bar-display)
endif()
qel_install_units(qel-progress-bar-display qel-progress-bar-display-hardware@.service)
if(TARGET tavrin-board)
  list(APPEND COMPONENTS tavrin-board)
  qel_install_program_pages(tavrin-board tavrin-board)
  if(TARGET tavrin-board-viewer)
    qel_install_compressed(man/tavrin-board-viewer.1 "${CMAKE_INSTALL_MANDIR}/man1" tavrin-board-viewer.1 tavrin-board)
  endif()
  install(DIRECTORY demo/ DESTINATION "${CMAKE_INSTALL_DATADIR}/tavrin-board/demo" COMPONENT tavrin-board
    FILES_MATCHING PATTERN "*.png")
  if(TARGET Display)
    qel_install_units(tavrin-board tavrin-board-display.service qel-progress-bar-display@.service
      qel-progress-bar-display-result@.service qel-progress-bar-display-run.target
      qel-progress-bar-display-result.target)
    install(FILES packaging/tmpfiles/tavrin-board.conf DESTINATION lib/tmpfiles.d COMPONENT tavrin-board)
  endif()
endif()

set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # otherwise this one precedes the description of each package
set(CPACK_COMPONENTS_ALL ${COMPONENTS})
set(CPACK_PACKAGE_CONTACT "QelProgressBarDisplay developers <developers@qelprogressbardisplay.example.org>")
set(CPACK_PACKAGE_VENDOR "QelProgressBarDisplay developers")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)

set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_SOURCE_DIR}/packaging/WithoutLdconfig.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_QEL-PROGRESS-BAR-DISPLAY_PACKAGE_NAME qel-progress-bar-display)
set(CPACK_DEBIAN_QEL-PROGRESS-BAR-DISPLAY_PACKAGE_SUGGESTS tavrin-board)
set(CPACK_DEBIAN_QEL-PROGRESS-BAR-DISPLAY_DESCRIPTION
"full-screen progress display on a video-processing board
QelProgressBarDisplay drives every video output of a board with given timings,
paints a PNG background, plays an animation and fills a bar with the
percentage that the board reports, while the board does something long that
must not be interrupted, such as an update of its firmware.

It needs the device library libTavrin.so.1 of the board's maker, or the
software board from the package tavrin-board.")

set(CPACK_DEBIAN_TAVRIN-BOARD_PACKAGE_NAME tavrin-board)
set(CPACK_DEBIAN_TAVRIN-BOARD_PACKAGE_RECOMMENDS qel-progress-bar-display)
set(CPACK_DEBIAN_TAVRIN-BOARD_DESCRIPTION
"video-processing board in software, with a front panel
The software board replaces a video-processing board, so QelProgressBarDisplay
can be run, watched and tested without hardware. A board lives in a folder and
stays there after the processes that use it have ended. tavrin-board makes
boards, writes the progress that they report, and shows what their outputs
show.

The board's device library is in a private folder. A program gets it only
under \"tavrin-board run\".")

include(CPack)
