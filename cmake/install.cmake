# The dictionary editor inside the bundle, and every install rule:
#   <prefix>/lib/orvane/Orvane IME.app/   the bundle with its data and helper
#   <prefix>/bin/                         orvane (a link into the bundle) and the tools
#   Fcitx5's addon and data folders       the engine and its two files
# `cmake --install build [--prefix DIR]`; the data must have been built.

set(ORVANE_HELPER_DIR "${ORVANE_BUNDLE_DIR}/Contents/Helpers/Orvane IME Dictionary.app")
set_target_properties(orvane-dictionary-editor PROPERTIES
  OUTPUT_NAME "Orvane IME Dictionary"
  RUNTIME_OUTPUT_DIRECTORY "${ORVANE_HELPER_DIR}/Contents/MacOS")
add_custom_command(OUTPUT "${ORVANE_HELPER_DIR}/Contents/Info.plist"
  COMMAND ${CMAKE_COMMAND} -E copy "${CMAKE_SOURCE_DIR}/tools/dictionary-editor/Info.plist"
          "${ORVANE_HELPER_DIR}/Contents/Info.plist"
  DEPENDS "${CMAKE_SOURCE_DIR}/tools/dictionary-editor/Info.plist" VERBATIM)
add_custom_target(dictionary_editor_bundle ALL DEPENDS "${ORVANE_HELPER_DIR}/Contents/Info.plist")
add_dependencies(orvane dictionary_editor_bundle orvane-dictionary-editor)

set(ORVANE_INSTALL_BUNDLE "lib/orvane/Orvane IME.app")

# An install without the data would give an input method that cannot convert.
install(CODE "
  if(NOT EXISTS \"${ORVANE_BUNDLE_DIR}/Contents/Resources/Mozc/mozc.tsv\"
     OR NOT EXISTS \"${ORVANE_BUNDLE_DIR}/Contents/Resources/Mozc/connection.bin\")
    message(FATAL_ERROR \"The dictionary data are not built: run scripts/build-data.sh ${CMAKE_BINARY_DIR} \"
                        \"(or ./build-and-run.sh) before installing.\")
  endif()")
install(DIRECTORY "${ORVANE_BUNDLE_DIR}/" DESTINATION "${ORVANE_INSTALL_BUNDLE}" USE_SOURCE_PERMISSIONS)

install(TARGETS orvane-term orvane-convert orvane-eval orvane-mkdict RUNTIME DESTINATION bin)
# The program finds its bundle from its real path, so a link serves.
install(CODE "
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(CREATE_LINK \"../${ORVANE_INSTALL_BUNDLE}/Contents/MacOS/orvane\"
       \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/orvane\" SYMBOLIC)
  message(STATUS \"Installing: \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/orvane -> ../${ORVANE_INSTALL_BUNDLE}/Contents/MacOS/orvane\")")

if(TARGET orvane_fcitx5_addon)
  # Fcitx5's own folders below the prefix: for /usr exactly where Fcitx5
  # looks; elsewhere the addon file names the library by its full path, and
  # the data folder is found through XDG_DATA_DIRS (<prefix>/share).
  set(fcitx_addon_dir "lib/${CMAKE_LIBRARY_ARCHITECTURE}/fcitx5")
  install(TARGETS orvane_fcitx5_addon LIBRARY DESTINATION "${fcitx_addon_dir}")
  install(FILES "${CMAKE_SOURCE_DIR}/fcitx5/orvane.conf" DESTINATION share/fcitx5/inputmethod)
  install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
      set(ORVANE_ADDON_LIBRARY orvane)
    else()
      set(ORVANE_ADDON_LIBRARY \"\${CMAKE_INSTALL_PREFIX}/${fcitx_addon_dir}/orvane\")
    endif()
    set(PROJECT_VERSION ${PROJECT_VERSION})
    set(ORVANE_ADDON_TYPE SharedLibrary)
    configure_file(\"${CMAKE_SOURCE_DIR}/fcitx5/orvane-addon.conf.in\"
                   \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/fcitx5/addon/orvane.conf\" @ONLY)
    message(STATUS \"Installing: \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/fcitx5/addon/orvane.conf (Library=\${ORVANE_ADDON_LIBRARY})\")")
endif()
