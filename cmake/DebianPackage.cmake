# The Debian package of the program: `cpack -G DEB` in a build folder. Its
# dependencies are read from the binary by dpkg-shlibdeps; the tools the
# program drives (archive tools, document converters, film codecs, the screen
# font, the icon's renderer) are recommended, since it works without them.
set(dorvik_doc_dir ${CMAKE_INSTALL_DATADIR}/doc/dorvik)
set(dorvik_changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
add_custom_command(OUTPUT ${dorvik_changelog}
                   COMMAND sh -c "gzip -9n -c \"$1\" > \"$2\"" gzip
                           ${PROJECT_SOURCE_DIR}/resources/debian/changelog ${dorvik_changelog}
                   DEPENDS ${PROJECT_SOURCE_DIR}/resources/debian/changelog VERBATIM)
add_custom_target(dorvik_changelog ALL DEPENDS ${dorvik_changelog})
install(FILES ${PROJECT_SOURCE_DIR}/resources/debian/copyright ${dorvik_changelog}
        DESTINATION ${dorvik_doc_dir})

set(CPACK_PACKAGE_NAME dorvik)
set(CPACK_PACKAGE_VENDOR "The Dorvik developers")
set(CPACK_PACKAGE_CONTACT "Dorvik developers <maintainers@dorvik.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "keyboard-driven dual-pane file manager")
set(CPACK_PACKAGE_DESCRIPTION
    "Dorvik is a file manager for the keyboard, drawn as a text screen: navy
panes, one monospaced face, a legend of single-letter keys along the top and a
status line at the bottom. Two filer panes stand side by side, or the right
half holds a viewer, a small editor or a gallery. It browses ZIP, tar and LHA
archives as folders, detects Japanese legacy encodings (CP932, Shift_JIS,
EUC-JP) and saves in them, and searches by name, content and period.")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "unar, jlha-utils | lhasa, pandoc | docx2txt, odt2txt, antiword | catdoc, unrtf, \
gstreamer1.0-plugins-good, gstreamer1.0-libav, fonts-noto-cjk, libqt6svg6")
include(CPack)
