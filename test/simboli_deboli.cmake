# A weak symbol in the object of a level may be linked in place of another level's, and then run
# where its instructions are missing.
foreach(oggetto IN LISTS OGGETTI)
    execute_process(COMMAND ${NM} ${oggetto} OUTPUT_VARIABLE simboli COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]* [uvVwW] [^\n]*" deboli "${simboli}")
    if(deboli)
        message(FATAL_ERROR "${oggetto} has weak symbols:\n${deboli}")
    endif()
    if(NOT simboli MATCHES "nuclei_")
        message(FATAL_ERROR "${oggetto} holds no kernels")
    endif()
endforeach()
