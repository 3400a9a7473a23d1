# Files for `cmake --install`. Components: "daemon" for a card, "tools" for the command-line tools;
# without --component both are installed.

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools)

install(TARGETS pallwatch DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT daemon)

# The unit names the daemon by its path, which the prefix of the installation decides.
install(CODE "
  file(READ \"${PROJECT_SOURCE_DIR}/packaging/pallwatch.service\" unit)
  string(REPLACE /usr/sbin/ \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_SBINDIR}/\" unit \"\${unit}\")
  set(file \"\${CMAKE_INSTALL_PREFIX}/lib/systemd/system/pallwatch.service\")
  file(WRITE \"\$ENV{DESTDIR}\${file}\" \"\${unit}\")
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${file}\")
  message(STATUS \"Installing: \$ENV{DESTDIR}\${file}\")
" COMPONENT daemon)

# The man pages (doc/man) refer to these pages.
install(DIRECTORY doc/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT daemon FILES_MATCHING PATTERN *.md
        PATTERN man EXCLUDE PATTERN picture EXCLUDE)
install(FILES packaging/inittab packaging/syslog.conf
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT daemon)
install(PROGRAMS packaging/pallwatch.init
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT daemon)

if(NOT PALLWATCH_TOOLS)
  return()
endif()
install(TARGETS pallbus pallctl pallframe)
# The file name of a completion is the name of the program.
foreach(program pallbus pallctl pallframe)
  install(FILES tools/completion/pallwatch.bash RENAME ${program}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()
install(FILES tools/completion/_pallwatch DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(DIRECTORY tools/scenarios DESTINATION ${CMAKE_INSTALL_DOCDIR})
