# shellcheck shell=bash
# ./dev shots: pictures of the window in its states, and the one of the README.

dev_shots() {
    [ $# -eq 0 ] || die "shots takes no arguments"
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}" "${PACKAGES_TEST[@]}"
    use_utf8
    build release -- window_gallery
    local directory=$ROOT/build/shots gallery
    rm -rf "$directory"
    mkdir -p "$directory"
    start_display 1600x1200
    gallery=$(find "$ROOT/build/release" -type f -name window_gallery -perm -u+x)
    [ -n "$gallery" ] || die "the gallery was not built"
    "$gallery" "$directory"
    montage -label '%t' "$directory"/*.png -tile 4x -geometry '420x>+12+12' \
        -background '#d8dde3' "$directory/contact-sheet.jpg"
    say "$(find "$directory" -name '*.png' | wc -l) pictures in build/shots/, all of them on" \
        "build/shots/contact-sheet.jpg"
    end_children
    unset DISPLAY

    # The README shows the window as ./dev run shows it.
    "$ROOT/dev" run
    cp "$ROOT/build/run/prompt.png" "$ROOT/docs/prompt.png"
    say "docs/prompt.png is new"
}
