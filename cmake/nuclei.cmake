# The kernels once an instruction set, each in a namespace of its own. Optimised in every preset: a
# debug build of vector code shows nothing and takes minutes.
set(VARNO_NUCLEI
    colore/nuclei_colore.cpp
    comune/nuclei_livello.cpp
    fx/aberrazione.cpp
    fx/bloom.cpp
    fx/catena.cpp
    fx/enhance.cpp
    fx/glimmer.cpp
    fx/grana.cpp
    fx/halation.cpp
    fx/mistw.cpp
    fx/nuclei_piani.cpp
    fx/pelle.cpp
    fx/promist.cpp
    fx/stella.cpp
    fx/streak.cpp
    fx/vignetta.cpp
    render/nuclei_tabella.cpp)

function(varno_nuclei livello)
    set(bersaglio varno_nuclei_${livello})
    add_library(${bersaglio} OBJECT ${VARNO_NUCLEI})
    target_link_libraries(${bersaglio} PRIVATE varno_prodotto)
    target_compile_definitions(${bersaglio} PRIVATE
        VARNO_LIVELLO=nuclei_${livello} VARNO_LIVELLO_NOME="${livello}")
    target_compile_options(${bersaglio} PRIVATE ${ARGN})
    # No sibling calls: GCC forgets vzeroupper before a jump out of a 256-bit function, and the
    # host would pay for that.
    target_compile_options(${bersaglio} PRIVATE -O3 -fno-optimize-sibling-calls)
    target_sources(varno PRIVATE $<TARGET_OBJECTS:${bersaglio}>)
endfunction()

varno_nuclei(base)

if(VARNO_X86_64)
    set(opzioni -mavx2)
    set(con_avx2 TRUE)
    if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # GCC does not align the stack to 32 bytes there but spills as if it did: the assembler has
        # to make those moves unaligned ones (binutils 2.38), or the level is left out.
        include(CheckCXXCompilerFlag)
        check_cxx_compiler_flag(-Wa,-muse-unaligned-vector-move VARNO_MOSSE_NON_ALLINEATE)
        list(APPEND opzioni -Wa,-muse-unaligned-vector-move)
        set(con_avx2 ${VARNO_MOSSE_NON_ALLINEATE})
    endif()
    if(con_avx2)
        varno_nuclei(avx2 ${opzioni})
        target_compile_definitions(varno PRIVATE VARNO_HA_AVX2)
    endif()
endif()
