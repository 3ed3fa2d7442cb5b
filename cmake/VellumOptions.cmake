# The compiler settings that every target of ours links, and nobody else's.

find_package(Threads REQUIRED)

add_library(vellum_options INTERFACE)
target_compile_features(vellum_options INTERFACE cxx_std_17)

if(MSVC)
    target_compile_options(vellum_options INTERFACE /W4 /fp:precise)
else()
    target_compile_options(vellum_options INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
        # a*b + c rounds twice on every processor, so that double results are the same everywhere
        -ffp-contract=off)
endif()

if(VELLUM_WARNINGS_AS_ERRORS)
    target_compile_options(vellum_options INTERFACE $<IF:$<BOOL:${MSVC}>,/WX,-Werror>)
endif()

if(VELLUM_SANITIZE)
    target_compile_options(vellum_options INTERFACE
        -fsanitize=${VELLUM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vellum_options INTERFACE -fsanitize=${VELLUM_SANITIZE})
endif()

# Qt's flags (such as -fPIC) come with its targets; its strictness is ours to ask for.
target_compile_definitions(vellum_options INTERFACE QT_NO_CAST_FROM_BYTEARRAY QT_NO_FOREACH)

# Rebuilding what was built before, in this folder or another, costs next to nothing with ccache.
if(VELLUM_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(VELLUM_CCACHE ccache)
    if(VELLUM_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${VELLUM_CCACHE})
    endif()
endif()
