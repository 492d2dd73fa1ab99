#!/bin/sh
# Whether a man page has neither mistakes of markup nor gaps.
#
# usage: check_man_page.sh PAGE VERSION [SOURCE]
#
# Each option that SOURCE, the reader of a command line, takes must be in the page.
set -eu
page=$1
version=$2

# What man --warnings would say.
findings=$(LC_ALL=C.UTF-8 groff -ww -z -man -Tutf8 -K utf8 "$page" 2>&1
    # scdoc opens more paragraphs than it needs; their order is no fault.
    mandoc -T lint -W warning "$page" | grep -v 'WARNING: skipping paragraph macro: PP' || true)

text=$(mandoc -T utf8 -O width=78 "$page" | sed 's/.\o10//g')
case $text in
    *"VelunorOSUpdate $version "*) ;;
    *) findings="$findings
$page: the version $version is missing" ;;
esac
for section in NAME SYNOPSIS DESCRIPTION 'EXIT STATUS' FILES 'SEE ALSO'; do
    printf '%s\n' "$text" | grep -qx "$section" || findings="$findings
$page: the section $section is missing"
done
if [ $# -gt 2 ]; then
    options=$(grep -o '"--[a-z]*"' "$3" | tr -d '"' | sort -u)
    for option in $options; do
        # What an option does stands below it; of these two the synopsis says it all.
        case $option in
            --help | --version) place=" $option\\b" ;;
            *) place="^ +$option\\b" ;;
        esac
        printf '%s\n' "$text" | grep -qE -e "$place" || findings="$findings
$page: the option $option is missing"
    done
fi
[ -z "$findings" ] || {
    printf '%s\n' "$findings" >&2
    exit 1
}
