# Installs BUILD into STAGE, which holds nothing of an earlier install, and looks for the colour
# profiles in its DATADIR.

file(REMOVE_RECURSE ${STAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${STAGE}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
foreach(name cmyk.icm ISOcoated_v2_300_bas.txt XYZ-D50-Identity-vorn-V4.icc README.md)
    if(NOT EXISTS ${STAGE}/${DATADIR}/vellum/share/color/icc/${name})
        message(FATAL_ERROR "${name} is not installed")
    endif()
endforeach()
