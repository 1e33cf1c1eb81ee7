# The bundle as hosts look for it: VarnoColor.ofx.bundle/Contents/<architecture>/VarnoColor.ofx.
if(WIN32)
    set(VARNO_ARCHITETTURA "Win64")
    set(VARNO_OFX_DIR_DEFAULT "C:/Program Files/Common Files/OFX/Plugins")
    if(DEFINED ENV{CommonProgramW6432})
        file(TO_CMAKE_PATH "$ENV{CommonProgramW6432}/OFX/Plugins" VARNO_OFX_DIR_DEFAULT)
    endif()
elseif(APPLE)
    set(VARNO_ARCHITETTURA "MacOS")
    set(VARNO_OFX_DIR_DEFAULT "/Library/OFX/Plugins")
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    set(VARNO_ARCHITETTURA "Linux-x86-64")
    set(VARNO_OFX_DIR_DEFAULT "/usr/OFX/Plugins")
else()
    set(VARNO_ARCHITETTURA "Linux-${CMAKE_SYSTEM_PROCESSOR}")
    set(VARNO_OFX_DIR_DEFAULT "/usr/OFX/Plugins")
endif()
set(VARNO_OFX_DIR "${VARNO_OFX_DIR_DEFAULT}" CACHE PATH "Folder that hosts search for OFX plug-ins")
set(VARNO_BUNDLE "${PROJECT_BINARY_DIR}/VarnoColor.ofx.bundle")

add_library(VarnoColor MODULE)
target_link_libraries(VarnoColor PRIVATE varno_prodotto varno_host varno)
set_target_properties(VarnoColor PROPERTIES
    PREFIX ""
    SUFFIX ".ofx"
    LINKER_LANGUAGE CXX
    LIBRARY_OUTPUT_DIRECTORY "${VARNO_BUNDLE}/Contents/${VARNO_ARCHITETTURA}")

if(APPLE)
    target_link_options(VarnoColor PRIVATE
        "-Wl,-exported_symbols_list,${PROJECT_SOURCE_DIR}/host/esportazioni.macos")
    set_target_properties(VarnoColor PROPERTIES
        LINK_DEPENDS "${PROJECT_SOURCE_DIR}/host/esportazioni.macos")
elseif(UNIX)
    target_link_options(VarnoColor PRIVATE
        "-Wl,--version-script=${PROJECT_SOURCE_DIR}/host/esportazioni.map"
        -Wl,-z,now -Wl,-z,relro -Wl,-z,noexecstack)
    if(NOT VARNO_SANITIZE)  # the sanitizers' symbols come with the program
        target_link_options(VarnoColor PRIVATE -Wl,-z,defs)
    endif()
    set_target_properties(VarnoColor PROPERTIES
        LINK_DEPENDS "${PROJECT_SOURCE_DIR}/host/esportazioni.map")
    if(VARNO_AUTONOMO)
        # libgcc stays shared: with a second unwinder inside, an exception that leaves mainEntry
        # ends the host.
        target_sources(VarnoColor PRIVATE host/riserva.cpp)
        target_link_options(VarnoColor PRIVATE
            -static-libstdc++ -shared-libgcc -Wl,--exclude-libs,ALL -Wl,--gc-sections -s)
    endif()
elseif(MINGW)
    # All of the runtime inside: nothing but system libraries is there on a user's machine.
    target_sources(VarnoColor PRIVATE host/riserva.cpp)
    target_link_options(VarnoColor PRIVATE
        -static -Wl,--exclude-all-symbols -Wl,--no-insert-timestamp -s)
endif()

configure_file("${PROJECT_SOURCE_DIR}/risorse/Info.plist.in" "${VARNO_BUNDLE}/Contents/Info.plist" @ONLY)
configure_file("${PROJECT_SOURCE_DIR}/risorse/com.varnotone.varnocolor.png"
    "${VARNO_BUNDLE}/Contents/Resources/com.varnotone.varnocolor.png" COPYONLY)

if(APPLE)
    # Without a signature, were it ad hoc, arm64 loads nothing.
    add_custom_command(TARGET VarnoColor POST_BUILD
        COMMAND codesign --force --sign - "${VARNO_BUNDLE}" VERBATIM)
endif()

# The bundle goes out as it was built, so that a signature stays whole.
function(varno_installa_bundle componente cartella)
    install(DIRECTORY "${VARNO_BUNDLE}/" DESTINATION "${cartella}"
        COMPONENT ${componente} ${ARGN}
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
        DIRECTORY_PERMISSIONS
            OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endfunction()
varno_installa_bundle(plugin "${VARNO_OFX_DIR}/VarnoColor.ofx.bundle")
