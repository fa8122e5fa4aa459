# Registration of tests. A file tests/*/..._test.cpp that no program lists stops the configuration,
# so that no test silently leaves the build.

# velkor_test_program(<name> LABEL <kind> TIMEOUT <seconds> SOURCES <files> LIBRARIES <targets>
#                     [ENVIRONMENT <VAR=value>...])
# Each case becomes a ctest of its own, named <label>.<suite>.<case>.
function(velkor_test_program name)
    cmake_parse_arguments(T "" "LABEL;TIMEOUT" "SOURCES;LIBRARIES;ENVIRONMENT" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    velkor_program_settings(${name})
    # What is tested is compiled as it is shipped; the tests themselves only have to build fast.
    target_compile_options(${name} PRIVATE -O0)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${T_LIBRARIES} GTest::gmock GTest::gtest_main)
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    gtest_discover_tests(${name}
        TEST_PREFIX ${T_LABEL}.
        NO_PRETTY_VALUES
        DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS ${T_LABEL} TIMEOUT ${T_TIMEOUT} ENVIRONMENT "${T_ENVIRONMENT}")
    foreach(source IN LISTS T_SOURCES)
        cmake_path(ABSOLUTE_PATH source NORMALIZE)
        set_property(GLOBAL APPEND PROPERTY VELKOR_TEST_SOURCES ${source})
    endforeach()
endfunction()

function(velkor_check_every_test_is_registered)
    get_property(registered GLOBAL PROPERTY VELKOR_TEST_SOURCES)
    file(GLOB_RECURSE present CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/*_test.cpp)
    foreach(source IN LISTS present)
        if(NOT source IN_LIST registered)
            message(FATAL_ERROR "${source} is in no test program; list it in the CMakeLists.txt "
                                "of its folder, or rename it if it is no test")
        endif()
    endforeach()
endfunction()
