# shellcheck shell=bash
# ./dev shots: pictures of the window in its states.

readonly SHOT_LANGUAGES=(en de ar ja)
readonly SHOT_STATES=(plain credentials other_user notice last_minute long_texts rebranded)

dev_shots() {
    [ $# -le 1 ] || die "shots takes one option at most"
    case ${1:-} in
        '' | --approve | --readme) ;;
        *) die "shots: unknown option $1" ;;
    esac
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_SHOTS[@]}"
    use_utf8
    build release -- window_gallery
    local gallery=$ROOT/build/release/tests/qt/window_gallery
    if [ "${1:-}" = --approve ]; then
        "$gallery" "$ROOT/tests/qt/approved" approved
        say "tests/qt/approved/ shows the window as it looks now; look at it before you commit it"
        return
    fi

    local directory=$ROOT/build/shots scale look
    rm -rf "$directory"
    mkdir -p "$directory"
    for scale in 1 2; do
        "$gallery" "$directory" "$scale"
        for look in light dark; do
            contact_sheet "$scale" "$look" "$((scale * 420))" "sheet-${look}-${scale}x.jpg"
        done
    done
    contact_sheet 1 both 210 overview.jpg
    say "$(find "$directory" -name '*.png' | wc -l) pictures in build/shots/;" \
        "build/shots/overview.jpg shows all at one pixel a point, sheet-*.jpg in full size"
    [ "${1:-}" != --readme ] || readme_pictures
}

# readme_pictures : renews those of the README.
readme_pictures() {
    cp "$ROOT/build/shots/credentials_en_light_1x.png" "$ROOT/docs/prompt-credentials.png"
    # The first one shows the window as ./dev run shows it.
    unset DISPLAY WAYLAND_DISPLAY
    "$ROOT/dev" run
    # The bare screen beside the card's corners is not the window's.
    local right bottom
    right=$(($(identify -format '%w' "$ROOT/build/run/prompt.png") - 1))
    bottom=$(($(identify -format '%h' "$ROOT/build/run/prompt.png") - 1))
    convert "$ROOT/build/run/prompt.png" -alpha set -fill none -floodfill +0+0 black \
        -floodfill "+$right+0" black -floodfill "+0+$bottom" black \
        -floodfill "+$right+$bottom" black "$ROOT/docs/prompt.png"
    say "docs/prompt.png and docs/prompt-credentials.png are new"
}

# contact_sheet SCALE light|dark|both WIDTH NAME : a row for each state, a column for each language;
# the states that only English is shown in stand at the end.
contact_sheet() {
    local scale=$1 looks=(light dark) width=$3 state language look row rows
    [ "$2" = both ] || looks=("$2")
    local number=100 columns=$((${#looks[@]} * ${#SHOT_LANGUAGES[@]})) special=()
    cd "$ROOT/build/shots" || exit
    rows=$(mktemp -d)
    for state in "${SHOT_STATES[@]}"; do
        row=()
        for look in "${looks[@]}"; do
            for language in "${SHOT_LANGUAGES[@]}"; do
                row+=("${state}_${language}_${look}_${scale}x.png")
            done
        done
        contact_row "$width" "$columns" "$rows/$((number += 1)).png" "${row[@]}"
    done
    for look in "${looks[@]}"; do
        for state in *_en_"${look}_${scale}x.png"; do
            [[ " ${SHOT_STATES[*]} " == *" ${state%_en_*} "* ]] || special+=("$state")
        done
    done
    for ((row = 0; row < ${#special[@]}; row += columns)); do
        contact_row "$width" "$columns" "$rows/$((number += 1)).png" "${special[@]:row:columns}"
    done
    convert "$rows"/*.png -append -quality 92 "$4"
    rm -rf "$rows"
    cd "$ROOT" || exit
}

# contact_row WIDTH COLUMNS OUTPUT PICTURE...
contact_row() {
    montage -label '%t' "${@:4}" -tile "$2x1" -gravity north -geometry "${1}x+12+12" \
        -background '#9aa3ad' "$3"
}
