# How every target of this project is compiled, in one place.

set(VELKOR_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(VELKOR_WERROR)
    list(APPEND VELKOR_WARNINGS -Werror)
endif()

# One layer of the library: the object files of one folder. Includes are written from the top of
# the tree ("data/data_area.h"); tools/check_layers.sh holds the order of the folders.
function(velkor_layer name)
    add_library(velkor_${name} OBJECT ${ARGN})
    target_include_directories(velkor_${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(velkor_${name} PUBLIC ${VELKOR_QT_CORE})
    target_compile_options(velkor_${name} PRIVATE ${VELKOR_WARNINGS})
    # The driver writes its debug lines with QtCore's message functions alone; a cast from a plain
    # C string would depend on Qt's idea of its encoding.
    target_compile_definitions(velkor_${name} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
    set_target_properties(velkor_${name} PROPERTIES
        CXX_STANDARD ${VELKOR_LIBRARY_STANDARD}
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # A unique symbol would pin the library in memory and break its unloading.
        target_compile_options(velkor_${name} PRIVATE -fno-gnu-unique)
    endif()
endfunction()

# Settings of a program or test: C++17, the project's warnings.
function(velkor_program_settings target)
    target_compile_options(${target} PRIVATE ${VELKOR_WARNINGS})
    set_target_properties(${target} PROPERTIES CXX_STANDARD 17)
endfunction()
