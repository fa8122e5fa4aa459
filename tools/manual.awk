# Makes of a program's manual (panel/options/manual.txt, plc/manual.txt) what users meet of it.
#
#   awk -v form=header|man|completion [-v version=V] [-v template=FILE] -f tools/manual.awk MANUAL
#
#   header      the texts of --help for the program itself, as C++
#   man         its man page
#   completion  its completion for bash: the template with the manual's lists put in
#
# The manual is lines of plain ASCII. A keyword at the start of a line opens an entry, indented lines
# below it are its text, # begins a comment:
#   program NAME, summary, description
#   command SYNTAX       words in lower case are meant as they stand, the others are placeholders
#   option NAMES [VALUE] NAMES are long ones, or LETTER,NAME
#   exit CODE
# Within an option, indented: `default VALUE`, what the program takes without it, and
# `choices VALUE...`, all that it can be given.
# Exit code: 0 done, 1 the manual is wrong (told with its line).

function wrong(reason) {
    print FILENAME ":" FNR ": " reason >"/dev/stderr"
    failed = 1
    exit 1
}

function join(known, more) {
    return known == "" ? more : known " " more
}

/[^ -~]/ { wrong("a character that is not plain ASCII") }
/\\/ { wrong("a backslash, which means something in each of the forms") }
/^#/ || /^ *$/ { next }

/^[a-z]/ {
    entry = $1
    rest = $0
    sub(/^[a-z]+ */, "", rest)
    if (entry == "program") {
        program = rest
    } else if (entry == "command") {
        commands[++command_count] = rest
    } else if (entry == "option") {
        option_names[++option_count] = $2
        option_value[option_count] = $3
    } else if (entry == "exit") {
        exit_code[++exit_count] = $2
    } else if (entry != "summary" && entry != "description") {
        wrong("\"" entry "\" is no keyword")
    }
    next
}

/^ / {
    line = $0
    sub(/^ +/, "", line)
    if (entry == "option" && $1 == "default") {
        option_default[option_count] = $2
        option_text[option_count] = option_text[option_count] " Default: " $2 "."
    } else if (entry == "option" && $1 == "choices") {
        sub(/^choices +/, "", line)
        option_choices[option_count] = line
    } else if (entry == "option") {
        option_text[option_count] = join(option_text[option_count], line)
    } else if (entry == "command") {
        command_text[command_count] = join(command_text[command_count], line)
    } else if (entry == "exit") {
        exit_text[exit_count] = join(exit_text[exit_count], line)
    } else if (entry == "summary") {
        summary = join(summary, line)
    } else if (entry == "description") {
        description = join(description, line)
    } else {
        wrong("text that belongs to no entry")
    }
    next
}

{ wrong("neither a keyword nor indented text") }

# exit_line(): what the exit codes mean, in one line.
function exit_line(    i, line) {
    for (i = 1; i <= exit_count; i++) {
        line = line (i == 1 ? "" : ", ") exit_code[i] " " exit_text[i]
    }
    return "Exit codes: " line "."
}

# ---- header

function literal(text) {
    gsub(/"/, "\\\"", text)
    return "\"" text "\""
}

function literal_or_null(text) {
    return text == "" ? "nullptr" : literal(text)
}

function print_header(    i) {
    print "// Made by tools/manual.awk; its source is the program's manual.txt."
    print "#pragma once\n\nnamespace manual {\n"
    print "struct Option {"
    print "    const char* names;    // LETTER,NAME or NAME"
    print "    const char* value;    // null: a switch"
    print "    const char* standard; // null: none that the program takes as if it was given"
    print "    const char* text;\n};\n"
    print "constexpr Option OPTIONS[] = {"
    for (i = 1; i <= option_count; i++) {
        print "    {" literal(option_names[i]) ", " literal_or_null(option_value[i]) ", " \
            literal_or_null(option_default[i]) ",\n     " literal(option_text[i]) "},"
    }
    print "};\n\n// What stands above the options."
    print "constexpr char DESCRIPTION[] =\n    " literal(description) " \"\\n\""
    if (command_count > 0) {
        print "    \"\\nCOMMAND is one of:\\n\""
        for (i = 1; i <= command_count; i++) {
            print "    " literal(sprintf("  %-37s %s", commands[i], command_text[i])) " \"\\n\""
        }
        print "    \"\\n\""
    }
    print "    " literal(exit_line()) ";"
    print "\n} // namespace manual"
}

# ---- man page

function roff(text) {
    gsub(/--/, "\\-\\-", text)
    gsub(/'/, "\\(aq", text)
    sub(/^\./, "\\\\\\&.", text)
    return text
}

function roff_option(names, value,    i, count, part, line) {
    count = split(names, part, ",")
    for (i = 1; i <= count; i++) {
        gsub(/-/, "\\-", part[i])
        line = line (i == 1 ? "" : ", ") "\\fB" (length(part[i]) == 1 ? "\\-" : "\\-\\-") part[i] "\\fR"
    }
    return value == "" ? line : line " \\fI" roff(value) "\\fR"
}

function print_man(    i) {
    print ".\\\" Made by tools/manual.awk; its source is the program's manual.txt."
    print ".TH " toupper(program) " 1 \"\" \"velkor " version "\" \"User Commands\""
    print ".SH NAME\n" program " \\- " roff(summary)
    print ".SH SYNOPSIS\n.B " program "\n[\\fIOPTIONS\\fR]" (command_count > 0 ? " \\fICOMMAND\\fR" : "")
    print ".SH DESCRIPTION\n" roff(description)
    if (command_count > 0) {
        print ".SH COMMANDS"
        for (i = 1; i <= command_count; i++) {
            print ".TP\n.B " roff(commands[i]) "\n" roff(command_text[i])
        }
    }
    print ".SH OPTIONS"
    for (i = 1; i <= option_count; i++) {
        print ".TP\n" roff_option(option_names[i], option_value[i]) "\n" roff(option_text[i])
    }
    print ".SH EXIT STATUS"
    for (i = 1; i <= exit_count; i++) {
        print ".TP\n.B " exit_code[i] "\n" roff(exit_text[i])
    }
    print ".SH SEE ALSO\n.BR " (program == "velkor-plc" ? "velkor\\-panel" : "velkor\\-plc") " (1)"
}

# ---- completion

function quoted(text) {
    gsub(/'/, "'\\''", text)
    return "'" text "'"
}

function option_words(i, with_value,    count, part, k, words) {
    if ((option_value[i] != "") != with_value) {
        return ""
    }
    count = split(option_names[i], part, ",")
    for (k = 1; k <= count; k++) {
        words = words " " (length(part[k]) == 1 ? "-" : "--") part[k]
    }
    return words
}

function print_choices(    i, choices) {
    for (i = 1; i <= option_count; i++) {
        choices = option_value[i] == "FILE" ? "FILE" : option_choices[i]
        if (choices != "") {
            print "        " substr(option_words(i, 1), 2) ") echo " quoted(choices) " ;;"
        }
    }
}

function print_completion(    line, function_name, i) {
    function_name = program
    gsub(/-/, "_", function_name)
    while ((getline line <template) > 0) {
        if (line ~ /^ *@choices@$/) {
            print_choices()
        } else if (line ~ /^ *@commands@$/) {
            for (i = 1; i <= command_count; i++) {
                print "        " quoted(commands[i])
            }
        } else {
            if (line ~ /@(switches|valued)@/) {
                gsub(/@switches@/, all_words(0), line)
                gsub(/@valued@/, all_words(1), line)
            }
            gsub(/@program@/, program, line)
            gsub(/@function@/, function_name, line)
            print line
        }
    }
}

function all_words(with_value,    i, words) {
    for (i = 1; i <= option_count; i++) {
        words = words option_words(i, with_value)
    }
    return substr(words, 2)
}

END {
    if (failed) {
        exit 1
    }
    if (program == "" || summary == "" || option_count == 0) {
        wrong("no program, summary or option")
    }
    if (form == "header") {
        print_header()
    } else if (form == "man") {
        print_man()
    } else if (form == "completion") {
        print_completion()
    } else {
        print "form is header, man or completion" >"/dev/stderr"
        exit 1
    }
}
