# Run by cpack after it has packed, to make the same bytes of the same files. cpack's Debian packages
# carry the builder's umask; dpkg-deb's own do not.
if(CPACK_TEMPORARY_DIRECTORY MATCHES "/DEB/")
    foreach(package IN LISTS CPACK_PACKAGE_FILES)
        file(REMOVE_RECURSE ${package}.tree)
        execute_process(COMMAND dpkg-deb --raw-extract ${package} ${package}.tree
                        COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND chmod 755 ${package}.tree ${package}.tree/DEBIAN
                        COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND dpkg-deb --root-owner-group --build ${package}.tree ${package}
                        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
        file(REMOVE_RECURSE ${package}.tree)
    endforeach()
endif()

# It takes the files of a tar.gz in the order in which the file system has them, and with the
# builder's user.
if(CPACK_TEMPORARY_DIRECTORY MATCHES "/TGZ/")
    cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH folder)
    cmake_path(GET CPACK_TEMPORARY_DIRECTORY FILENAME tree)
    execute_process(
        COMMAND tar --create --directory=${folder} --sort=name --owner=root:0 --group=root:0
                    --mtime=@$ENV{SOURCE_DATE_EPOCH} ${tree}
        COMMAND gzip -9n
        OUTPUT_FILE ${CPACK_PACKAGE_FILES}
        COMMAND_ERROR_IS_FATAL ANY)
endif()
