# fx/nuclei_livello.cpp once an instruction set. Optimised in every preset: a debug build of vector
# code shows nothing and takes minutes.
function(varno_nuclei livello)
    set(bersaglio varno_nuclei_${livello})
    add_library(${bersaglio} OBJECT fx/nuclei_livello.cpp)
    target_link_libraries(${bersaglio} PRIVATE varno_regole)
    target_compile_definitions(${bersaglio} PRIVATE
        VARNO_LIVELLO=nuclei_${livello} VARNO_LIVELLO_NOME="${livello}")
    target_compile_options(${bersaglio} PRIVATE ${ARGN})
    if(NOT MSVC)
        target_compile_options(${bersaglio} PRIVATE -O3 -Wdouble-promotion)
    endif()
    set_target_properties(${bersaglio} PROPERTIES
        CXX_EXTENSIONS OFF
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_sources(varno PRIVATE $<TARGET_OBJECTS:${bersaglio}>)
endfunction()

varno_nuclei(base)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND NOT MSVC AND NOT APPLE)
    varno_nuclei(avx2 -mavx2)
    target_compile_definitions(varno PRIVATE VARNO_HA_AVX2)
endif()
