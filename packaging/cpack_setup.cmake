# Read by cpack before it begins. The files in the packages carry the time of the commit, so that the
# same commit gives the same bytes; SOURCE_DATE_EPOCH in the environment is another time.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND git -C ${CPACK_VELKOR_SOURCE} log -1 --format=%ct
                    OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE
                    COMMAND_ERROR_IS_FATAL ANY)
    set(ENV{SOURCE_DATE_EPOCH} ${commit_time})
endif()

# For another machine, dpkg's own records say nothing of the libraries; those of the sysroot do.
if(CPACK_VELKOR_SYSROOT)
    set(ENV{SYSROOT} ${CPACK_VELKOR_SYSROOT})
    set(SHLIBDEPS_EXECUTABLE ${CPACK_VELKOR_SOURCE}/tools/shlibdeps_sysroot.sh)
endif()
