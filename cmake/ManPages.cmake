# zp_add_man_page(<target> <description>)
# Generates <target>.1 from the program's --help with help2man once the program is built, and
# installs it into man1. <description> is the one-line NAME entry of the page. Sanitizer builds
# make no man pages (their programs need the sanitizer runtime and are not installed for use).
function(zp_add_man_page target description)
  if(NOT ZP_SANITIZE STREQUAL "")
    return()
  endif()
  set(page ${CMAKE_CURRENT_BINARY_DIR}/${target}.1)
  # --version-string: help2man then never runs the program with --version. The time limit keeps a
  # program that does not return from --help from hanging the build.
  add_custom_command(OUTPUT ${page}
    COMMAND timeout 60 ${ZP_HELP2MAN} --no-info --version-string=${PROJECT_VERSION}
            --name=${description} --section=1 --output=${page} $<TARGET_FILE:${target}>
    DEPENDS ${target}
    COMMENT "Generating man page ${target}.1"
    VERBATIM)
  add_custom_target(${target}_man ALL DEPENDS ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()
