# shellcheck shell=bash
# ./dev texts: for each language, the texts that are missing and those that nobody asks for.

dev_texts() {
    [ $# -eq 0 ] || die "texts takes no arguments"
    local used file language missing unused status=0 LC_ALL=C
    used=$(grep -rhoE --include='*.cpp' --include='*.h' '"tarn\.[a-z0-9_.]+"' \
        "$ROOT"/{agent,app,credentials,platform,prompt,tools,ui,window} | tr -d '"' | sort -u)
    [ -n "$used" ] || die "the program asks for no text"
    for file in "$ROOT"/i18n/application_*.properties; do
        language=${file##*/application_}
        language=${language%.properties}
        missing=$(comm -23 <(printf '%s\n' "$used") <(keys_of "$file"))
        unused=$(comm -13 <(printf '%s\n' "$used") <(keys_of "$file"))
        printf '%s: %s\n' "$language" "$([ -n "$missing$unused" ] || printf complete)"
        awk 'NF { print "    missing: " $0 }' <<<"$missing"
        awk 'NF { print "    no longer used: " $0 }' <<<"$unused"
        # The other languages fall back to English.
        [ "$language" != en ] || [ -z "$missing" ] || status=1
    done
    return "$status"
}

# keys_of FILE : the keys of a file of texts, sorted.
keys_of() {
    sed -E -e ':join' -e '/\\$/{N;s/\\\n//;b join' -e '}' "$1" |
        sed -nE 's/^[ \t]*([^#! \t=:]+)[ \t]*[=:].*/\1/p' | sort -u
}
