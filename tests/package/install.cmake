# Installs BUILD into STAGE, which holds nothing of an earlier install.

file(REMOVE_RECURSE ${STAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${STAGE}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
