# Reads the includes of the product and fails on one that runs against the arrows:
#
#     host -> render -> colore -> looks -> fx -> comune
#
# parallel_for knows nothing and is open to all; ofx/ofx.h itself refuses all but the host's files.
cmake_minimum_required(VERSION 3.18)
set(radice "${CMAKE_CURRENT_LIST_DIR}/..")
set(ordine host render colore looks fx comune ofx)
set(letti 0)
foreach(cartella ${ordine})
    file(GLOB file_di RELATIVE "${radice}" "${radice}/${cartella}/*.h" "${radice}/${cartella}/*.cpp")
    foreach(file ${file_di})
        file(STRINGS "${radice}/${file}" righe REGEX "^#include \"")
        foreach(riga ${righe})
            math(EXPR letti "${letti} + 1")
            string(REGEX REPLACE "^#include \"(([^/\"]*)/[^\"]*)\".*" "\\1;\\2" coppia "${riga}")
            list(GET coppia 0 incluso)
            list(GET coppia -1 dove)
            list(FIND ordine "${cartella}" da)
            list(FIND ordine "${dove}" a)
            if(NOT incluso STREQUAL "render/parallel_for.h" AND (a LESS 0 OR a LESS da))
                message(SEND_ERROR "${file} may not include ${incluso}")
            endif()
        endforeach()
    endforeach()
endforeach()
if(letti LESS 100)
    message(SEND_ERROR "only ${letti} includes found")
endif()
