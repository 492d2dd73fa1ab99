# shellcheck shell=bash
# ./dev desktops: the prompt on the desktops that people have, each with its panel, on a virtual
# display; the table and the pictures of docs/desktops.md.

# One desktop takes about half a minute.
readonly DESKTOP_LIMIT=180

dev_desktops() {
    local results=$ROOT/build/desktops program=$ROOT/build/release/desktops
    local approve=false name names=()
    for name in "$@"; do
        case $name in
            --approve) approve=true ;;
            -*) die "desktops: unknown option $name" ;;
            *) names+=("$name") ;;
        esac
    done
    ! $approve || [ ${#names[@]} -eq 0 ] || die "desktops: --approve is for all of them together"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
        "${PACKAGES_DESKTOPS[@]}" "${PACKAGES_MATRIX[@]}"
    use_utf8
    build release -- VelunorOSUpdate desktops
    rm -rf "$results"
    mkdir -p "$results/desktops"
    "$program" --list >"$results/list.tsv"
    if [ ${#names[@]} -eq 0 ]; then
        mapfile -t names < <(cut -f 1 "$results/list.tsv")
    fi
    for name in "${names[@]}"; do
        grep -q "^$name	" "$results/list.tsv" || die "desktops: there is no $name; these are there:" \
            "$(cut -f 1 "$results/list.tsv" | tr '\n' ' ')"
    done
    say "trying ${#names[@]} desktops"
    # shellcheck disable=SC2016
    printf '%s\n' "${names[@]}" | xargs -P "$(nproc)" -I '{}' sh -c \
        'timeout "$1" "$2" "$3" "$4" >"$4/$3.tsv" 2>"$4/$3.err" || cat "$4/$3.err" >&2' \
        sh "$DESKTOP_LIMIT" "$program" '{}' "$results"
    for name in "${names[@]}"; do
        desktop_picture "$results/$name.ppm" "$results/desktops/$name.png"
    done
    for name in "$results"/*.ppm; do
        [ ! -e "$name" ] || convert "$name" "${name%.ppm}.png"
        rm -f "$name"
    done
    local status=0
    python3 "$ROOT/dev.d/desktops_report.py" "$results" "${names[@]}" || status=$?
    if $approve; then
        mkdir -p "$ROOT/docs/desktops"
        cp "$results/desktops.md" "$ROOT/docs/"
        cp "$results"/desktops/*.png "$ROOT/docs/desktops/"
        say "docs/desktops.md and its pictures are new; look at them before you commit them"
    else
        say "table and pictures are in build/desktops/, with one of each cell that is wrong"
    fi
    say "$(cat "$results/summary")"
    return "$status"
}

# desktop_picture PPM PNG : a small one for the documents.
desktop_picture() {
    [ -e "$1" ] || return 0
    convert "$1" -resize 640x +dither -colors 64 -strip "PNG8:$2"
    rm -f "$1"
    [ "$(stat -c %s "$2")" -lt 60000 ] || die "the picture is too large: $2"
}
