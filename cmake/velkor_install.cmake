# How a library is installed for those who build against it: by find_package and by pkg-config. Both
# descriptions are written relative to themselves, so the installed tree may be moved.

include(CMakePackageConfigHelpers)

# velkor_install_package(<name> TARGET <target> QT <components> DESCRIPTION <text>
#                        [PRIVATE_LIBRARIES <flags>])
# Installs the library of <target>, and find_package(<name>) with the target
# velkor::<its EXPORT_NAME>, and <name>.pc. <components> are what its headers need of Qt.
function(velkor_install_package package_name)
    cmake_parse_arguments(P "" "TARGET;DESCRIPTION;PRIVATE_LIBRARIES" "QT" ${ARGN})
    set(package_libdir ${CMAKE_INSTALL_LIBDIR})
    set(package_folder ${package_libdir}/cmake/${package_name})
    install(TARGETS ${P_TARGET} EXPORT ${package_name}-targets
            LIBRARY DESTINATION ${package_libdir} COMPONENT ${package_name}
            NAMELINK_COMPONENT development)

    list(TRANSFORM P_QT PREPEND "${VELKOR_QT_COMPONENT_PREFIX}" OUTPUT_VARIABLE package_qt_components)
    list(JOIN package_qt_components " " package_qt_components)
    configure_package_config_file(
        ${PROJECT_SOURCE_DIR}/packaging/package-config.cmake.in ${package_name}-config.cmake
        INSTALL_DESTINATION ${package_folder})
    write_basic_package_version_file(${package_name}-config-version.cmake
                                     COMPATIBILITY SameMajorVersion)
    install(EXPORT ${package_name}-targets NAMESPACE velkor:: DESTINATION ${package_folder}
            COMPONENT development)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package_name}-config.cmake
                  ${CMAKE_CURRENT_BINARY_DIR}/${package_name}-config-version.cmake
            DESTINATION ${package_folder} COMPONENT development)

    list(TRANSFORM P_QT PREPEND ${VELKOR_QT_PKGCONFIG_PREFIX} OUTPUT_VARIABLE package_qt_modules)
    list(JOIN package_qt_modules " " package_qt_modules)
    get_target_property(package_library ${P_TARGET} OUTPUT_NAME)
    set(full_libdir ${CMAKE_INSTALL_FULL_LIBDIR})
    file(RELATIVE_PATH pkgconfig_to_prefix ${full_libdir}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    file(RELATIVE_PATH prefix_to_lib ${CMAKE_INSTALL_PREFIX} ${full_libdir})
    file(RELATIVE_PATH prefix_to_include ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
    configure_file(${PROJECT_SOURCE_DIR}/packaging/package.pc.in ${package_name}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package_name}.pc
            DESTINATION ${package_libdir}/pkgconfig COMPONENT development)
endfunction()
