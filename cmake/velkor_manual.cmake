# What a program says of itself, made from one text (its manual.txt) by tools/make_manual.sh, while
# building and by nothing that has to run on the target: the texts of its --help, its man page, its
# completion for bash. They cannot differ.

# velkor_manual(<program> <manual> <target>): <target> may include "<program>_manual.h".
function(velkor_manual program manual target)
    set(script ${PROJECT_SOURCE_DIR}/tools/make_manual.sh)
    set(made ${CMAKE_CURRENT_BINARY_DIR}/manual)
    cmake_path(ABSOLUTE_PATH manual NORMALIZE)
    add_custom_command(
        OUTPUT ${made}/${program}_manual.h ${made}/${program}.1.gz ${made}/${program}
        COMMAND ${script} ${program} ${manual} ${PROJECT_VERSION} ${made}
        DEPENDS ${script} ${manual} ${PROJECT_SOURCE_DIR}/tools/manual.awk
                ${PROJECT_SOURCE_DIR}/packaging/completion.bash.in
        COMMENT "Making what ${program} says of itself"
        VERBATIM)
    target_sources(${target} PRIVATE ${made}/${program}_manual.h)
    target_include_directories(${target} PRIVATE ${made})
    install(FILES ${made}/${program}.1.gz
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(FILES ${made}/${program}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
endfunction()
