# Read by CPack before it packs: Debian wants manual pages and changelogs compressed.
if(CPACK_GENERATOR STREQUAL "DEB")
    file(GLOB_RECURSE testi
        "${CPACK_TEMPORARY_DIRECTORY}/*.1" "${CPACK_TEMPORARY_DIRECTORY}/changelog")
    execute_process(COMMAND gzip -9n ${testi} COMMAND_ERROR_IS_FATAL ANY)
endif()
