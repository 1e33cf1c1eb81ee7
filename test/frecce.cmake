# Reads the includes of the product and fails on one that runs against the arrows:
#
#     host -> render -> colore -> looks -> fx -> comune
#
# parallel_for knows nothing and is open to all; ofx/ofx.h itself refuses all but the host's files.
cmake_minimum_required(VERSION 3.18)
set(radice "${CMAKE_CURRENT_LIST_DIR}/..")
set(lecite host render colore looks fx comune ofx)
set(letti 0)
while(lecite)
    list(GET lecite 0 cartella)
    string(JOIN "|" alternative ${lecite})
    file(GLOB file_di RELATIVE "${radice}" "${radice}/${cartella}/*.h" "${radice}/${cartella}/*.cpp")
    foreach(file ${file_di})
        file(STRINGS "${radice}/${file}" righe REGEX "^#include \"")
        list(LENGTH righe n)
        math(EXPR letti "${letti} + ${n}")
        list(FILTER righe EXCLUDE REGEX "\"(render/parallel_for.h|(${alternative})/[^\"]*)\"")
        if(righe)
            message(SEND_ERROR "${file} may not have ${righe}")
        endif()
    endforeach()
    list(POP_FRONT lecite)
endwhile()
if(letti LESS 100)
    message(SEND_ERROR "only ${letti} includes found")
endif()
