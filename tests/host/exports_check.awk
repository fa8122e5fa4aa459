# Prints the functions that the headers given as arguments declare and do not define, one line each:
# "velkor_host::Line::open" for a public member, "velkor_host::tagStateName" for a free function. A
# name that is overloaded comes more than once.

function declared(text,    name, before) {
    sub(/^.*(public|protected|private):/, "", text)
    if (text !~ /\(/ || text ~ /= *(0|default|delete) *$/ || text ~ /std::function *</ ||
        text ~ /^ *(typedef|using|friend)/)
        return
    before = substr(text, 1, index(text, "(") - 1)
    if (before ~ /[={]/) # the value of a member
        return
    match(before, /[~A-Za-z0-9_]+ *$/)
    name = substr(before, RSTART)
    gsub(/ /, "", name)
    print "velkor_host::" (scope[depth] == "" ? "" : scope[depth] "::") name
}

FNR == 1 { depth = 0; kind[0] = "namespace"; scope[0] = ""; text = "" }
/^ *#/ { next }
{
    sub(/\/\/.*/, "")
    line = $0 " "
    for (at = 1; at <= length(line); ++at) {
        c = substr(line, at, 1)
        if (kind[depth] == "class" && match(text, /(public|protected|private) *$/) && c == ":" &&
            substr(line, at + 1, 1) != ":")
            open[depth] = text ~ /public *$/
        if (c == "{") {
            ++depth
            kind[depth] = "body"
            scope[depth] = scope[depth - 1]
            if (text ~ /namespace/ && kind[depth - 1] == "namespace")
                kind[depth] = "namespace"
            else if (text ~ /(class|struct) / && text !~ /\(.*\(|enum/) {
                kind[depth] = "class"
                open[depth] = text ~ /struct /
                head = text
                sub(/ *:[^:].*/, "", head) # its bases
                match(head, /[A-Za-z0-9_]+ *$/)
                head = substr(head, RSTART)
                gsub(/ /, "", head)
                scope[depth] = scope[depth - 1] (scope[depth - 1] == "" ? "" : "::") head
            }
            text = ""
        } else if (c == "}") {
            --depth
            text = ""
        } else if (c == ";") {
            if (kind[depth] == "namespace" || (kind[depth] == "class" && open[depth]))
                declared(text)
            text = ""
        } else {
            text = text c
        }
    }
}
