# Registration of tests. A file tests/*/..._test.cpp that no program lists stops the configuration,
# so that no test silently leaves the build.

# Where programs run under an emulator, only these kinds of tests do: what they test starts no process.
# Under a user-mode emulator Qt cannot start one, believes in a child with the process ID -1, and a
# signal to that goes to every process of the machine.
set(VELKOR_EMULATED_LABELS unit contract plc panel host loop model property)

# For tests that compile and start something by themselves: see tests/contract/install_check.sh.
set(VELKOR_CROSS_ENVIRONMENT)
if(CMAKE_CROSSCOMPILING)
    set(libraries ${CMAKE_SYSROOT}/usr/lib/${CMAKE_CXX_LIBRARY_ARCHITECTURE})
    string(JOIN " " emulator ${CMAKE_CROSSCOMPILING_EMULATOR})
    set(VELKOR_CROSS_ENVIRONMENT
        VELKOR_SYSROOT=${CMAKE_SYSROOT}
        "VELKOR_EMULATOR=${emulator}"
        "VELKOR_TOOLCHAIN=-DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE} -DVELKOR_ARM_SYSROOT=${CMAKE_SYSROOT}"
        PKG_CONFIG_SYSROOT_DIR=${CMAKE_SYSROOT}
        PKG_CONFIG_LIBDIR=${libraries}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
endif()

# velkor_emulated_test(<name> <label> <environment>): a whole program is one ctest, because to start
# one under an emulator takes longer than most cases. None is run before layout.startsNothing has
# looked into the object files of this build.
function(velkor_emulated_test name label environment)
    if(NOT label IN_LIST VELKOR_EMULATED_LABELS)
        message(FATAL_ERROR "${name}: tests of the kind \"${label}\" are not run under an emulator")
    endif()
    if(CMAKE_CROSSCOMPILING_EMULATOR)
        add_test(NAME ${label}.${name} COMMAND ${name})
        set_tests_properties(${label}.${name} PROPERTIES LABELS ${label} TIMEOUT 300
            FIXTURES_REQUIRED starts_nothing ENVIRONMENT "${environment}")
    endif()
endfunction()

# Some headers take most of the time in which a test compiles: precompiled once, for all programs that
# are compiled alike. Not by default: a test that forgets an include has to be found by somebody.
option(VELKOR_PRECOMPILE_TESTS "Precompile the headers that most tests include" OFF)
function(velkor_precompile_test_headers name)
    if(NOT TARGET velkor_test_headers)
        add_library(velkor_test_headers OBJECT ${PROJECT_SOURCE_DIR}/tests/support/test_headers.cpp)
        velkor_test_settings(velkor_test_headers)
        target_link_libraries(velkor_test_headers PRIVATE ${VELKOR_QT_CORE} GTest::gmock)
        target_precompile_headers(velkor_test_headers PRIVATE
            <algorithm> <functional> <map> <memory> <string> <vector>
            <gmock/gmock.h> <gtest/gtest.h>
            <QtCore/QByteArray> <QtCore/QElapsedTimer> <QtCore/QFile> <QtCore/QHash>
            <QtCore/QString> <QtCore/QStringList> <QtCore/QTimer> <QtCore/QVector>)
    endif()
    target_precompile_headers(${name} REUSE_FROM velkor_test_headers)
endfunction()

# What is tested is compiled as it is shipped; the tests themselves only have to build fast: -g1 keeps
# the lines of a backtrace and leaves out the types, a fifth of the time.
function(velkor_test_settings name)
    velkor_program_settings(${name})
    target_compile_options(${name} PRIVATE -O0 -g1)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
        target_compile_definitions(${name} PRIVATE VELKOR_SANITIZED) # what counts memory or descriptors skips
    endif()
endfunction()

# velkor_test_program(<name> LABEL <kind> TIMEOUT <seconds> SOURCES <files> LIBRARIES <targets>
#                     [ENVIRONMENT <VAR=value>...] [WITHOUT_QT])
# Each case becomes a ctest of its own, named <label>.<suite>.<case>; of a build for another machine,
# each program, and so of one with sanitizers where cases take less time than to start one.
set(VELKOR_QUICK_LABELS unit loop plc panel)
function(velkor_test_program name)
    cmake_parse_arguments(T "WITHOUT_QT" "LABEL;TIMEOUT" "SOURCES;LIBRARIES;ENVIRONMENT" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    velkor_test_settings(${name})
    if(VELKOR_PRECOMPILE_TESTS AND NOT T_WITHOUT_QT)
        velkor_precompile_test_headers(${name})
    endif()
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${T_LIBRARIES} GTest::gmock GTest::gtest_main)
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if(CMAKE_CROSSCOMPILING)
        velkor_emulated_test(${name} ${T_LABEL} "${T_ENVIRONMENT}")
    elseif(CMAKE_CXX_FLAGS MATCHES "-fsanitize=" AND T_LABEL IN_LIST VELKOR_QUICK_LABELS)
        add_test(NAME ${T_LABEL}.${name} COMMAND ${name})
        set_tests_properties(${T_LABEL}.${name} PROPERTIES
            LABELS ${T_LABEL} TIMEOUT 300 ENVIRONMENT "${T_ENVIRONMENT}")
    else()
        gtest_discover_tests(${name}
            TEST_PREFIX ${T_LABEL}.
            NO_PRETTY_VALUES
            DISCOVERY_TIMEOUT 60
            PROPERTIES LABELS ${T_LABEL} TIMEOUT ${T_TIMEOUT} ENVIRONMENT "${T_ENVIRONMENT}")
    endif()
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
