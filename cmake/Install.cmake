# What `cmake --install` puts in place: programs, manuals, completions, the dissector, the dashboard and the alerts. Configuration, the
# system user and the unit come with the packages alone, so that installing by hand overwrites nothing of the operator's.
include(GNUInstallDirs)

install(TARGETS korabridge RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(TARGETS koractl korasim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES man/korabridge.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES man/koractl.1 man/korasim.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES man/korabridge-log.xml.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
install(FILES completions/koractl completions/korasim DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES tools/monitoring/korabridge-dashboard.json tools/monitoring/korabridge-rules.yml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/korabridge-tools/monitoring)
install(FILES tools/wireshark/kora.lua DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins)

if(KORABRIDGE_PANEL)
  install(TARGETS korapanel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY tools/korapanel/page/ DESTINATION ${CMAKE_INSTALL_DATADIR}/korabridge/panel
    FILES_MATCHING PATTERN "*.html" PATTERN "*.js" PATTERN "*.css" PATTERN "*.svg" PATTERN "*.png" PATTERN "*.ico")
  install(FILES man/korapanel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES completions/korapanel DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()
