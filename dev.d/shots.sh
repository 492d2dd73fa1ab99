# shellcheck shell=bash
# ./dev shots: pictures of the window in its states, and those of the README.

readonly SHOT_LANGUAGES=(en de ar ja)
readonly SHOT_STATES=(plain credentials other_user notice last_minute long_texts rebranded)

dev_shots() {
    local approve=
    case ${1:-} in
        '') ;;
        --approve) approve=yes ;;
        *) die "shots: unknown option $1" ;;
    esac
    [ $# -le 1 ] || die "shots takes one option at most"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}" \
        "${PACKAGES_SHOTS[@]}"
    use_utf8
    build release -- window_gallery
    local gallery=$ROOT/build/release/tests/qt/window_gallery
    if [ -n "$approve" ]; then
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

    cp "$directory/credentials_en_light_1x.png" "$ROOT/docs/prompt-credentials.png"
    # The README's first picture shows the window as ./dev run shows it.
    unset DISPLAY WAYLAND_DISPLAY
    "$ROOT/dev" run
    cp "$ROOT/build/run/prompt.png" "$ROOT/docs/prompt.png"
    say "docs/prompt.png and docs/prompt-credentials.png are new"
}

# contact_sheet SCALE light|dark|both WIDTH NAME : a row for each state, a column for each language.
contact_sheet() {
    local scale=$1 looks=(light dark) width=$3 state language look pictures=() others=()
    [ "$2" = both ] || looks=("$2")
    for state in "${SHOT_STATES[@]}"; do
        for look in "${looks[@]}"; do
            for language in "${SHOT_LANGUAGES[@]}"; do
                pictures+=("${state}_${language}_${look}_${scale}x.png")
            done
        done
    done
    # The states that only English is shown in stand at the end.
    for look in "${looks[@]}"; do
        mapfile -t -O "${#others[@]}" others < <(
            cd "$ROOT/build/shots" &&
                for state in *_en_"${look}_${scale}x.png"; do
                    [[ " ${pictures[*]} " == *" $state "* ]] || printf '%s\n' "$state"
                done
        )
    done
    (
        cd "$ROOT/build/shots" || exit
        montage -label '%t' "${pictures[@]}" "${others[@]}" \
            -tile "$((${#looks[@]} * ${#SHOT_LANGUAGES[@]}))x" -geometry "${width}x+12+12" \
            -background '#9aa3ad' -quality 92 "$4"
    )
}
