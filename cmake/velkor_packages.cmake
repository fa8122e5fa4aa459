# What cpack makes: Debian packages, and a tar.gz for panels without dpkg. The preset `package`
# configures for them: under /usr, and without the path of the build folder in any file.

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME velkor)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_CONTACT "velkor maintainers <maintainers@velkor.example>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/packaging/cpack_setup.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/cpack_files.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/cpack_archive.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VELKOR_STRIP ${CMAKE_STRIP})
set(CPACK_VELKOR_SOURCE ${PROJECT_SOURCE_DIR})
if(CMAKE_CROSSCOMPILING)
    set(CPACK_VELKOR_SYSROOT ${CMAKE_SYSROOT})
endif()
set(CPACK_VERBATIM_VARIABLES ON)

if(CMAKE_LIBRARY_ARCHITECTURE MATCHES "^arm-.*eabihf$")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
elseif(CMAKE_LIBRARY_ARCHITECTURE MATCHES "^x86_64-")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
else()
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${CMAKE_SYSTEM_PROCESSOR})
endif()
set(CPACK_PACKAGE_FILE_NAME velkor-${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL velkor velkor-host development tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(documents ${CMAKE_CURRENT_BINARY_DIR}/documents)
file(MAKE_DIRECTORY ${documents})
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${documents}/changelog COPYONLY)
configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/changelog ${documents}/changelog.Debian COPYONLY)
foreach(document IN ITEMS changelog changelog.Debian)
    execute_process(COMMAND gzip -9nf ${documents}/${document} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# velkor_debian_package(<component> <package> <section> <summary> <text> [<depends>])
# What Debian wants of every package lies under the package's name, and only there: it is no part of
# a plain installation.
function(velkor_debian_package component package section summary text depends)
    string(TOUPPER ${component} name)
    foreach(setting IN ITEMS
            "PACKAGE_NAME;${package}" "PACKAGE_SECTION;${section}" "DESCRIPTION;${summary}\n${text}"
            "PACKAGE_DEPENDS;${depends}")
        list(POP_FRONT setting field)
        set(CPACK_DEBIAN_${name}_${field} "${setting}" PARENT_SCOPE)
    endforeach()
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/copyright
                  ${documents}/changelog.gz ${documents}/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
    set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
    configure_file(${debian}/common.lintian-overrides ${documents}/${package} @ONLY)
    if(EXISTS ${debian}/${package}.lintian-overrides)
        file(READ ${debian}/${package}.lintian-overrides overrides)
        file(APPEND ${documents}/${package} "${overrides}")
    endif()
    install(FILES ${documents}/${package} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
            COMPONENT ${component} EXCLUDE_FROM_ALL)
    file(GLOB control_files ${debian}/${package}/*)
    set(CPACK_DEBIAN_${name}_PACKAGE_CONTROL_EXTRA "${control_files}" PARENT_SCOPE)
endfunction()

velkor_debian_package(velkor libvelkor1 libs
    "PLC driver for operator panels"
    "A driver that an operator panel loads to talk to PLCs of the CS, CJ and NX
families by FINS memory-area commands over UDP. It has no socket, thread or
timer: its host sends the frames that it builds."
    "")
velkor_debian_package(velkor-host libvelkor-host1 libs
    "host layer around the velkor PLC driver"
    "What every host of the driver does, done once: a line to one PLC with its
socket, tags, writes, reads and recipes with true outcomes. It loads a copy of
the driver for each line."
    "libvelkor1 ${same_version}")
set(qt_headers qtbase5-dev)
if(VELKOR_QT EQUAL 6)
    set(qt_headers qt6-base-dev)
endif()
velkor_debian_package(development libvelkor-dev libdevel
    "PLC driver for operator panels, for building hosts"
    "Headers of the velkor driver and of its host layer, CMake packages and
pkg-config files for both, and the host layer as a static library."
    "libvelkor1 ${same_version}, libvelkor-host1 ${same_version}, ${qt_headers}, libpcap-dev")
velkor_debian_package(tools velkor-tools utils
    "command-line host and simulated PLC of the velkor driver"
    "velkor-panel reads, writes and watches the memory of a PLC, and says why one
does not answer. velkor-plc is a simulated PLC with faults on request."
    "libvelkor1 ${same_version}")

# The tar.gz is the plain installation and the file about its licence.
install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/velkor COMPONENT archive)
include(CPack)
