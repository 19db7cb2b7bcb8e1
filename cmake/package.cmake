# What the Debian package holds, and how it is made: cmake --build build --target package.
include(GNUInstallDirs)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# The launcher also stands in the build folder, where ./run uses it.
configure_file(packaging/mendrik-presva ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/mendrik-presva COPYONLY)

# Texts as Debian wants them: manual pages and changelog compressed without a time, the guide as a page for a browser.
set(package_texts ${CMAKE_BINARY_DIR}/package-texts)
file(MAKE_DIRECTORY ${package_texts})
set(package_outputs)
foreach(text man/mendrik-presva.1 man/presva-live.1 man/presva-mdb.1 man/presva-scale.1 changelog)
    cmake_path(GET text FILENAME name)
    add_custom_command(OUTPUT ${package_texts}/${name}.gz
        COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/packaging/${text} > ${package_texts}/${name}.gz
        DEPENDS packaging/${text} VERBATIM)
    list(APPEND package_outputs ${package_texts}/${name}.gz)
endforeach()
find_program(CMARK_GFM cmark-gfm)
if(CMARK_GFM)
    add_custom_command(OUTPUT ${package_texts}/kullanim.html
        COMMAND ${CMARK_GFM} --extension table --to html docs/kullanim.md > ${package_texts}/guide-body.html
        COMMAND cat packaging/guide-head.html ${package_texts}/guide-body.html packaging/guide-foot.html
                > ${package_texts}/kullanim.html
        DEPENDS docs/kullanim.md packaging/guide-head.html packaging/guide-foot.html
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
    list(APPEND package_outputs ${package_texts}/kullanim.html)
else()
    install(CODE "message(FATAL_ERROR \"The guide needs cmark-gfm: scripts/ensure-packages package\")")
endif()
add_custom_target(package_texts ALL DEPENDS ${package_outputs})
# What the package is made of, without the tests and tools of the house.
add_custom_target(package_parts DEPENDS presva presva-live presva-mdb presva-scale package_texts)

set(documents ${CMAKE_INSTALL_DATADIR}/doc/mendrik-presva)
install(TARGETS presva DESTINATION lib/mendrik-presva)
install(TARGETS presva-live presva-mdb presva-scale DESTINATION bin)
install(PROGRAMS packaging/mendrik-presva DESTINATION bin)
install(FILES packaging/org.mendrik.Presva.desktop packaging/org.mendrik.Presva.Sezon.desktop DESTINATION share/applications)
install(FILES packaging/org.mendrik.Presva.metainfo.xml DESTINATION share/metainfo)
install(FILES packaging/org.mendrik.Presva.svg DESTINATION share/icons/hicolor/scalable/apps)
install(FILES ${package_texts}/mendrik-presva.1.gz ${package_texts}/presva-live.1.gz ${package_texts}/presva-mdb.1.gz
              ${package_texts}/presva-scale.1.gz
        DESTINATION share/man/man1)
install(FILES packaging/60-mendrik-presva.rules DESTINATION lib/udev/rules.d)
install(FILES README.md packaging/copyright ${package_texts}/changelog.gz DESTINATION ${documents})
install(DIRECTORY docs DESTINATION ${documents} FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(FILES ${package_texts}/kullanim.html DESTINATION ${documents}/docs OPTIONAL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mendrik-presva)
set(CPACK_PACKAGE_VENDOR Mendrik)
set(CPACK_PACKAGE_CONTACT "Mendrik <presva@mendrik.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "counter program of an olive-oil pressing mill")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Takes the weight of the olives from a scale on a serial line, records oil
and the mill's pay, prints a slip for the farmer and keeps customers and
pressings in an Access 2000 database, with a report and account statements.

With it come tools that check, export and back up the database, and one that
plays a scale, for practice.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Texts and fonts are not libraries, so nothing adds them by itself.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-translations-l10n, fonts-liberation, fonts-dejavu-core")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "cups, cups-client, xdg-utils")
include(CPack)
