# Installs BUILD into STAGE, which holds nothing of an earlier install, and looks for the colour
# profiles in its DATADIR and, if it has DOCUMENTS, for manual pages and completion scripts.

file(REMOVE_RECURSE ${STAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${STAGE}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
foreach(name cmyk.icm ISOcoated_v2_300_bas.txt XYZ-D50-Identity-vorn-V4.icc README.md)
    if(NOT EXISTS ${STAGE}/${DATADIR}/vellum/share/color/icc/${name})
        message(FATAL_ERROR "${name} is not installed")
    endif()
endforeach()
if(DOCUMENTS)
    foreach(name ${MANDIR}/man1/vellum.1 ${MANDIR}/man1/vellum-convert.1
            ${DATADIR}/bash-completion/completions/vellum ${DATADIR}/zsh/site-functions/_vellum
            ${DATADIR}/fish/vendor_completions.d/vellum.fish)
        if(NOT EXISTS ${STAGE}/${name})
            message(FATAL_ERROR "${name} is not installed")
        endif()
    endforeach()
endif()
