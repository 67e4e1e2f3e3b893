# Installs what belongs to the programs. Each install component has the name of its Debian package (debian/control), so one can
# be installed without the others.

# systemd looks in this folder of /usr and of /usr/local.
set(QEL_SYSTEMD_UNIT_DIR lib/systemd/system CACHE STRING "Where systemd's units are installed")

# qel_install_program_pages(<program> <component>)
# Installs a program's manual page and completions.
function(qel_install_program_pages PROGRAM COMPONENT)
  install(FILES man/${PROGRAM}.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT ${COMPONENT})
  install(FILES completions/${PROGRAM}.bash DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    RENAME ${PROGRAM} COMPONENT ${COMPONENT})
  install(FILES completions/_${PROGRAM} DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions"
    COMPONENT ${COMPONENT})
endfunction()

# qel_install_docs(<component> <file>...)
function(qel_install_docs COMPONENT)
  install(FILES ${ARGN} DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${COMPONENT}" COMPONENT ${COMPONENT})
endfunction()

# qel_install_units(<component> <file>...)
function(qel_install_units COMPONENT)
  list(TRANSFORM ARGN PREPEND packaging/systemd/)
  install(FILES ${ARGN} DESTINATION "${QEL_SYSTEMD_UNIT_DIR}" COMPONENT ${COMPONENT})
endfunction()

qel_install_program_pages(QelProgressBarDisplay qel-progress-bar-display)
if(TARGET QelBoardCheck)
  qel_install_program_pages(QelBoardCheck qel-progress-bar-display)
endif()
qel_install_docs(qel-progress-bar-display README.md docs/real-boards.md)
qel_install_units(qel-progress-bar-display qel-progress-bar-display-hardware@.service)
if(TARGET tavrin-board)
  qel_install_program_pages(tavrin-board tavrin-board)
  qel_install_docs(tavrin-board docs/software-board.md docs/real-displays.md)
  install(DIRECTORY demo/ DESTINATION "${CMAKE_INSTALL_DATADIR}/tavrin-board/demo" COMPONENT tavrin-board
    FILES_MATCHING PATTERN "*.png")
  if(TARGET Display)
    qel_install_units(tavrin-board tavrin-board-display.service qel-progress-bar-display@.service
      qel-progress-bar-display-result@.service qel-progress-bar-display-run.target
      qel-progress-bar-display-result.target)
    install(DIRECTORY packaging/examples DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/tavrin-board" COMPONENT tavrin-board)
    install(FILES packaging/tmpfiles/tavrin-board.conf DESTINATION lib/tmpfiles.d COMPONENT tavrin-board)
  endif()
endif()
if(TARGET tavrin-board-viewer)
  install(FILES man/tavrin-board-viewer.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tavrin-board-viewer)
endif()
