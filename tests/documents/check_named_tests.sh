#!/bin/sh
# Each test that a document names in back quotes stands in the sources.
# usage: check_named_tests.sh ROOT DOCUMENT...
set -eu
cd -- "$1"
shift
# shellcheck disable=SC2016
named=$(grep -hoE '`[A-Z][A-Za-z]+\.[A-Z][A-Za-z0-9]+`' "$@" | tr -d '`' | sort -u)
[ -n "$named" ] || {
    echo "no test is named in $*" >&2
    exit 1
}
status=0
for test in $named; do
    # clang-format may put the second name onto a line of its own.
    if ! grep -rzoqE "TEST(_F|_P)?\\(${test%.*},[[:space:]]+${test#*.}\\)" tests --include='*.cpp'; then
        echo "there is no test $test" >&2
        status=1
    fi
done
exit "$status"
