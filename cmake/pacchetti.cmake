# What users download. CPack makes it; cmake/generatori.cmake says which files each kind takes.
# A build with the tools packs provino, for the system that it is built on; any other the plug-in.
set(CPACK_PACKAGE_NAME "varno-color")
set(avvisi risorse/NOTICES.txt)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}: an OFX image-effect plug-in")
set(descrizione "Varno Color takes footage as the camera recorded it, log-encoded and in the
camera's gamut, and returns a finished Rec.709 picture: decoded through 32
camera profiles, graded with one of twelve looks, finished with up to twelve
optical effects.

Any editing or compositing program that takes OFX plug-ins finds it in
/usr/OFX/Plugins.")
if(VARNO_TOOLS)
    set(CPACK_PACKAGE_NAME "provino")
    set(avvisi risorse/NOTICES-provino.txt)
    set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "develop pictures with the Varno Color plug-in")
    set(descrizione "provino loads the Varno Color plug-in as an editing program does and develops
pictures and sequences with it, EXR, DPX, TIFF, PNG and JPEG, and with ffmpeg
movies. It shows them in the browser while the looks are set, draws sheets of
the looks and effects, writes the grade as a 3D LUT, compares pictures and
measures the plug-in.")
endif()
set(CPACK_PACKAGE_VENDOR "Varno Tone")
set(CPACK_PACKAGE_CONTACT "Varno Tone <packages@varnotone.com>")
string(TOLOWER "${VARNO_ARCHITETTURA}" CPACK_SYSTEM_NAME)
set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CPACK_SYSTEM_NAME}")
set(VARNO_PACCHETTI "${PROJECT_BINARY_DIR}/pacchetti" CACHE PATH "Folder that the packages go to")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/pacchetti")
set(CPACK_OUTPUT_FILE_PREFIX "${VARNO_PACCHETTI}")
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/generatori.cmake")
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
    set(CPACK_GENERATOR ZIP NSIS64)
elseif(APPLE)
    set(CPACK_GENERATOR ZIP)
elseif(VARNO_TOOLS)
    set(CPACK_GENERATOR DEB)
else()
    set(CPACK_GENERATOR TGZ DEB)
endif()

# Archives: the bundle and the two texts, in one folder.
varno_installa_bundle(archivio "VarnoColor.ofx.bundle" EXCLUDE_FROM_ALL)
install(FILES risorse/INSTALL.txt risorse/NOTICES.txt DESTINATION . COMPONENT archivio
    EXCLUDE_FROM_ALL)
# Debian: what the system wants to know of a package; the date is the commit's where a script says.
set(documenti share/doc/${CPACK_PACKAGE_NAME})
install(FILES ${avvisi} DESTINATION ${documenti}
    RENAME copyright COMPONENT documenti EXCLUDE_FROM_ALL)
string(TIMESTAMP data "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(risorse/changelog.in "${PROJECT_BINARY_DIR}/changelog" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/changelog" DESTINATION ${documenti}
    COMPONENT documenti EXCLUDE_FROM_ALL)
# Windows: the bundle is the folder that the installer makes.
varno_installa_bundle(installatore "." EXCLUDE_FROM_ALL)
install(FILES risorse/NOTICES.txt DESTINATION Contents/Resources COMPONENT installatore
    EXCLUDE_FROM_ALL)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "${descrizione}")
if(VARNO_TOOLS)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "varno-color (= ${PROJECT_VERSION}), fonts-dejavu-core")
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ffmpeg, xdg-utils")
    set(CPACK_STRIP_FILES ON)
else()
    # Held against the binary by the packages' own check.
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.23), libgcc-s1 | libgcc1")
endif()
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/comprimi.cmake")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_NSIS_PACKAGE_NAME "Varno Color")
set(CPACK_NSIS_DISPLAY_NAME "Varno Color ${PROJECT_VERSION}")
set(CPACK_NSIS_INSTALL_ROOT "$COMMONFILES64\\OFX\\Plugins")
set(CPACK_PACKAGE_INSTALL_DIRECTORY "VarnoColor.ofx.bundle")
set(CPACK_PACKAGE_INSTALL_REGISTRY_KEY "VarnoColor")
set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
# A 64-bit installer, and the same bytes whenever it is made.
set(CPACK_NSIS_DEFINES "Target amd64-unicode\nSetDateSave off")

include(CPack)
