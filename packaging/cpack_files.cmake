# Run by cpack over the installed files before it packs them: static libraries lose their debug
# information (cpack strips only what is linked), and every file gets the one time of the packages.
file(GLOB_RECURSE static_libraries ${CPACK_TEMPORARY_DIRECTORY}/*.a)
foreach(library IN LISTS static_libraries)
    execute_process(COMMAND ${CPACK_VELKOR_STRIP} --strip-debug --enable-deterministic-archives
                            --remove-section=.comment ${library}
                    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
# Folders have been made with the umask of whoever packs.
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -type d -exec chmod 755 {} +
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY}
                        -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
                COMMAND_ERROR_IS_FATAL ANY)
