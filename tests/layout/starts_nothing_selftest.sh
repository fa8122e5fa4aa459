#!/usr/bin/env bash
# Shows that check_starts_nothing.sh finds what it is there for.
# Usage: starts_nothing_selftest.sh CHECK NM CXX
set -eu
check=$1
nm=$2
compiler=$3
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT
objects=$build/CMakeFiles/program.dir
mkdir -p "$objects"

# expect STATUS TITLE: what the check says of the program on standard input.
expect() {
    local status=0
    "$compiler" -x c++ -c -o "$objects/program.o" -
    "$check" "$build" "$nm" >"$build/out" 2>&1 || status=$?
    if [ $status -ne "$1" ]; then
        echo "$2: exit $status, want $1" >&2
        cat "$build/out" >&2
        exit 1
    fi
}

status=0
"$check" "$build" "$nm" 2>/dev/null || status=$?
[ $status -eq 2 ] || { echo "no object file at all: exit $status, want 2" >&2; exit 1; }

expect 0 'a program that starts nothing' <<'END'
#include <cstdio>
void killjoy(); // only begins like one
int main() { killjoy(); return std::puts("system"); }
END
expect 1 'fork' <<<'#include <unistd.h>
int main() { return fork() == 0; }'
expect 1 'kill' <<<'#include <signal.h>
int main() { return kill(2, 0); }'
expect 1 'system' <<<'#include <cstdlib>
int main() { return std::system("true"); }'
expect 1 'execv' <<<'#include <unistd.h>
int main(int, char** words) { return execv("true", words); }'
expect 1 'posix_spawnp' <<<'#include <spawn.h>
int main() { return posix_spawnp(0, "true", 0, 0, 0, 0); }'
expect 1 'QProcess' <<<'struct QProcess { void start(); };
int main() { QProcess().start(); }'
expect 1 'a death test' <<<'namespace testing { namespace internal { struct DeathTest { static bool Create(); }; } }
int main() { return testing::internal::DeathTest::Create(); }'

# Linked and stripped, as in a package.
linked() { # STATUS TITLE: the program is on standard input
    local status=0
    "$compiler" -s -x c++ -o "$build/program" -
    "$check" "$build/program" "$nm" >"$build/out" 2>&1 || status=$?
    if [ $status -ne "$1" ]; then
        echo "linked, $2: exit $status, want $1" >&2
        cat "$build/out" >&2
        exit 1
    fi
}
linked 0 'a program that starts nothing' <<<'#include <cstdio>
int main() { return std::puts("fork"); }'
linked 1 'fork' <<<'#include <unistd.h>
int main() { return fork() == 0; }'
linked 1 'QProcess' <<<'struct QProcess { __attribute__((weak)) void start(); };
int main() { QProcess().start(); }'
