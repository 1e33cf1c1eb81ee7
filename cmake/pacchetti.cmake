# What users download. CPack makes it; cmake/generatori.cmake says which files each kind takes.
set(CPACK_PACKAGE_NAME "varno-color")
set(CPACK_PACKAGE_VENDOR "Varno Tone")
set(CPACK_PACKAGE_CONTACT "Varno Tone")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}: an OFX image-effect plug-in")
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
else()
    set(CPACK_GENERATOR TGZ DEB)
endif()

# Archives: the bundle and the two texts, in one folder.
varno_installa_bundle(archivio "VarnoColor.ofx.bundle" EXCLUDE_FROM_ALL)
install(FILES risorse/INSTALL.txt risorse/NOTICES.txt DESTINATION . COMPONENT archivio
    EXCLUDE_FROM_ALL)
# Debian: beside the plug-in, what the system wants to know of it.
install(FILES risorse/NOTICES.txt DESTINATION share/doc/${CPACK_PACKAGE_NAME}
    RENAME copyright COMPONENT documenti EXCLUDE_FROM_ALL)
# Windows: the bundle is the folder that the installer makes.
varno_installa_bundle(installatore "." EXCLUDE_FROM_ALL)
install(FILES risorse/NOTICES.txt DESTINATION Contents/Resources COMPONENT installatore
    EXCLUDE_FROM_ALL)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
# Held against the binary by the packages' own check.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.28), libgcc-s1 | libgcc1")
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
