# Run by cpack after it has packed. It takes the files of a tar.gz in the order in which the file
# system has them, and with the builder's user; packed again, the same files give the same bytes.
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
