# What comes with the tool: its manual, where scdoc is at hand to make it, and
# its completion for the shells.
find_program(CONFIGSTORE_SCDOC scdoc)
if(CONFIGSTORE_MANUAL AND NOT CONFIGSTORE_SCDOC)
  message(FATAL_ERROR "CONFIGSTORE_MANUAL needs scdoc")
endif()

if(CONFIGSTORE_SCDOC)
  file(GLOB sources CONFIGURE_DEPENDS docs/man/*.scd)
  set(pages)
  foreach(source IN LISTS sources)
    get_filename_component(page ${source} NAME_WLE)
    string(REGEX MATCH "[0-9]$" section ${page})
    set(page ${PROJECT_BINARY_DIR}/man/${page})
    add_custom_command(OUTPUT ${page} COMMAND sh -c "'${CONFIGSTORE_SCDOC}' <'${source}' >'${page}'"
                       DEPENDS ${source} VERBATIM)
    install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
    list(APPEND pages ${page})
  endforeach()
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man)
  add_custom_target(manual ALL DEPENDS ${pages})
endif()

install(FILES packaging/completion/csctl.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME csctl)
install(FILES packaging/completion/_csctl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES packaging/completion/csctl.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
