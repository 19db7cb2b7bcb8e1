# What the installer for Windows holds, and how it is made: cmake --build build/windows --target windows_setup.
enable_language(RC)
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
find_program(ICOTOOL icotool REQUIRED)

# Icon and version in the program file.
set(icon ${CMAKE_BINARY_DIR}/presva.ico)
set(drawn)
foreach(size 16 24 32 48 64 256)
    list(APPEND drawn ${CMAKE_BINARY_DIR}/icon-${size}.png)
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/icon-${size}.png
        COMMAND ${RSVG_CONVERT} -w ${size} -h ${size} ${PROJECT_SOURCE_DIR}/packaging/org.mendrik.Presva.svg
                -o ${CMAKE_BINARY_DIR}/icon-${size}.png
        DEPENDS packaging/org.mendrik.Presva.svg VERBATIM)
endforeach()
add_custom_command(OUTPUT ${icon} COMMAND ${ICOTOOL} -c -o ${icon} ${drawn} DEPENDS ${drawn} VERBATIM)
string(REPLACE "." "," PRESVA_VERSION_NUMBERS "${PROJECT_VERSION},0")
configure_file(packaging/windows/presva.rc.in ${CMAKE_BINARY_DIR}/presva.rc @ONLY)
set_source_files_properties(${CMAKE_BINARY_DIR}/presva.rc PROPERTIES OBJECT_DEPENDS ${icon})
target_sources(presva PRIVATE ${CMAKE_BINARY_DIR}/presva.rc)
add_custom_target(windows_icon DEPENDS ${icon})
add_dependencies(presva windows_icon)
# No console window beside the counter.
set_target_properties(presva PROPERTIES WIN32_EXECUTABLE ON)

# Everything beside the program that it needs on a bare machine.
set(libraries Qt6Core Qt6Gui Qt6Widgets Qt6Network)
list(TRANSFORM libraries REPLACE "(.+)" "${PRESVA_WINDOWS_QT}/bin/\\1.dll")
foreach(name libstdc++-6 libgcc_s_seh-1)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}.dll OUTPUT_VARIABLE file
                    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND libraries ${file})
endforeach()
list(APPEND libraries /usr/x86_64-w64-mingw32/lib/libwinpthread-1.dll)

# Without it Qt takes the folder above the program's for the one that its translations lie in.
file(WRITE ${CMAKE_BINARY_DIR}/qt.conf "[Paths]\nPrefix = .\nPlugins = .\nTranslations = translations\n")

# What they may be used for, as their packages say it.
set(documents /usr/share/doc)
set(licences /usr/share/common-licenses)

# Not "files": there the room of that name is built.
set(files ${CMAKE_BINARY_DIR}/installed)
set(name ${CMAKE_BINARY_DIR}/mendrik-presva-${PROJECT_VERSION})
add_custom_target(windows_setup
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${files} ${name}.zip
    COMMAND ${CMAKE_COMMAND} -E make_directory ${files}/platforms ${files}/styles ${files}/translations
            ${files}/lisanslar
    COMMAND ${CMAKE_STRIP} -o ${files}/presva.exe $<TARGET_FILE:presva>
    COMMAND ${CMAKE_STRIP} -o ${files}/presva-mdb.exe $<TARGET_FILE:presva-mdb>
    COMMAND ${CMAKE_COMMAND} -E copy ${libraries} ${CMAKE_BINARY_DIR}/qt.conf ${files}
    COMMAND ${CMAKE_STRIP} ${files}/libstdc++-6.dll ${files}/libgcc_s_seh-1.dll ${files}/libwinpthread-1.dll
    COMMAND ${CMAKE_COMMAND} -E copy ${PRESVA_WINDOWS_QT}/plugins/platforms/qwindows.dll ${files}/platforms
    COMMAND ${CMAKE_COMMAND} -E copy ${PRESVA_WINDOWS_QT}/plugins/styles/qwindowsvistastyle.dll ${files}/styles
    COMMAND ${CMAKE_COMMAND} -E copy /usr/share/qt6/translations/qtbase_tr.qm ${files}/translations
    COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/packaging/copyright ${files}
    COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/packaging/windows/lisanslar.txt ${files}/lisanslar
    COMMAND ${CMAKE_COMMAND} -E copy ${documents}/qt6-base-dev/copyright ${files}/lisanslar/qt.txt
    COMMAND ${CMAKE_COMMAND} -E copy ${documents}/gcc-mingw-w64-base/copyright ${files}/lisanslar/gcc.txt
    COMMAND ${CMAKE_COMMAND} -E copy ${documents}/mingw-w64-x86-64-dev/copyright ${files}/lisanslar/mingw-w64.txt
    COMMAND ${CMAKE_COMMAND} -E copy ${licences}/GPL-3 ${files}/lisanslar/GPL-3.txt
    COMMAND ${CMAKE_COMMAND} -E copy ${licences}/LGPL-3 ${files}/lisanslar/LGPL-3.txt
    COMMAND ${PROJECT_SOURCE_DIR}/packaging/windows/make-setup ${files} ${PROJECT_VERSION} ${name}-setup.exe ${icon}
    COMMAND ${CMAKE_COMMAND} -E chdir ${files} zip -q -r ${name}.zip .
    DEPENDS presva presva-mdb VERBATIM)
