# Builds SOURCE with nothing but COMPILER and what PKG_CONFIG says, and runs it.

set(ENV{PKG_CONFIG_PATH} ${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs vellum
    OUTPUT_VARIABLE options OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(options UNIX_COMMAND "${options}")
execute_process(
    COMMAND ${COMPILER} -std=c++17 ${FLAGS} ${SOURCE} -o ${PROGRAM} ${options}
    COMMAND_ERROR_IS_FATAL ANY)
set(ENV{LD_LIBRARY_PATH} ${LIBDIR})
execute_process(COMMAND ${PROGRAM} COMMAND_ERROR_IS_FATAL ANY)
