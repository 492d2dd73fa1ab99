# shellcheck shell=bash
# ./dev run: the prompt with the settings and directories of a development tree.

# How it ends when the password that it was given is refused.
readonly STATUS_REFUSED=3

dev_run() {
    local kind=OSUpdate arguments=() press="Update Now"
    while [ $# -gt 0 ]; do
        case $1 in
            --credentials) kind=OSUpdateWithCred ;;
            --)
                shift
                arguments=("$@")
                break
                ;;
            *) die "run: unknown option $1" ;;
        esac
        shift
    done
    if [ ${#arguments[@]} -eq 0 ]; then
        arguments=("$kind" "Debian 12.9" false 15 false 2)
    fi
    [ ${#arguments[@]} -eq 6 ] || die "run: six arguments are needed after --"
    local headless='' password=''
    if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
        headless=yes
    fi
    if [ -n "$headless" ] && [ "${arguments[0]}" = OSUpdateWithCred ]; then
        password=$(ask_password)
        # Without a password there is nothing to update with.
        [ -n "$password" ] || press="Postpone"
    fi
    need "${PACKAGES_BUILD[@]}" "${PACKAGES_DISPLAY[@]}"
    build release -- VelunorOSUpdate ostrel-agent osupdate-checkpass sysadminctl press
    # The prompt starts no program that others could have changed, were it by its directory.
    SCRATCH=$(mktemp -d)
    install -m 700 build/release/{osupdate-checkpass,sysadminctl} "$SCRATCH"
    use_utf8
    development_directories "$ROOT/build/run"
    export VELUNOR_AGENT_SETTINGS=$ROOT/build/run/ostrel-agent.toml

    end_children_at_exit
    receive_answer
    if [ -z "$headless" ]; then
        say "answer the prompt in the lower right corner of the screen"
        setsid dbus-run-session -- "$ROOT/build/release/ostrel-agent" prompt -- "${arguments[@]}" \
            >"$ROOT/build/run/pipe" &
        keep $!
        finish_run $!
        return
    fi
    start_display 1280x800
    setsid dbus-run-session -- "$ROOT/dev.d/in-session.sh" "$ROOT/build/release/ostrel-agent" prompt -- \
        "${arguments[@]}" 3>"$ROOT/build/run/pipe" 4> >(tee "$ROOT/build/run/prompt.log" >&2) \
        >"$ROOT/build/run/bus.log" 2>&1 &
    local session=$!
    keep $session
    press_when_shown "$session" "$press" "$password"
    [ -z "$password" ] || end_when_refused "$session"
    finish_run "$session"
}

# development_directories DIRECTORY : settings and the directories that they name.
development_directories() {
    local directory=$1
    mkdir -p "$directory/base/images" "$directory/data" "$directory/log/UserLogs"
    rm -rf "$directory/base/i18n" "$directory/bus" "$directory/prompt.log"
    if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
        export XDG_RUNTIME_DIR=$directory/runtime
        mkdir -p "$XDG_RUNTIME_DIR"
        chmod 700 "$XDG_RUNTIME_DIR"
    fi
    cp -R "$ROOT/i18n" "$directory/base/i18n"
    cat >"$directory/ostrel-agent.toml" <<TOML
[agent]
product_name = "Ostrel Agent"
base_path = "$directory/base"
data_path = "$directory/data"
log_path = "$directory/log"

[service]
bus = "session"

[credentials]
secure_token_tool = "$SCRATCH/sysadminctl"
credential_checker = "$SCRATCH/osupdate-checkpass"
TOML
}

# receive_answer : what comes through build/run/pipe goes to build/run/answer, a password in it
# blotted out: neither a terminal nor a file is the place for one.
receive_answer() {
    rm -f "$ROOT/build/run/pipe" "$ROOT/build/run/answer"
    mkfifo -m 600 "$ROOT/build/run/pipe"
    sed -E 's/("passwd":")([^"\\]|\\.)*"/\1********"/' <"$ROOT/build/run/pipe" \
        >"$ROOT/build/run/answer" &
    RECEIVER=$!
}

# ask_password : the password of whoever runs this, from the terminal, a pipe or a file. The virtual
# display has no keyboard to type it on.
ask_password() {
    local password=''
    if [ -t 0 ]; then
        IFS= read -r -s -p "Password of $(id -un), or nothing to postpone: " password
        printf '\n' >&2
    elif [ -p /dev/stdin ] || [ -f /dev/stdin ]; then
        IFS= read -r password || true
    fi
    printf '%s' "$password"
}

# press_when_shown SESSION NAME PASSWORD : takes the picture, types what is needed, clicks the button.
press_when_shown() {
    local session=$1 name=$2 password=$3 tries=0
    until [ -s "$ROOT/build/run/bus" ]; do
        kill -0 "$session" 2>/dev/null || die "the prompt ended before it was shown"
        [ $((tries += 1)) -le 300 ] || die "the private bus did not start"
        sleep 0.1
    done
    AT_SPI_BUS_ADDRESS=$(cat "$ROOT/build/run/bus")
    export AT_SPI_BUS_ADDRESS
    local place
    place=$("$ROOT/build/release/press" --find "$name") || die "the prompt did not show"
    import -window root "$ROOT/build/run/screen.png"
    convert "$ROOT/build/run/screen.png" -crop "$place" +repage "$ROOT/build/run/prompt.png"
    say "a picture is in build/run/prompt.png, the whole screen in build/run/screen.png"
    if [ -n "$password" ]; then
        type_credentials "$password"
    fi
    say "pressing $name"
    quietly "$ROOT/build/release/press" "$name"
}

# type_credentials PASSWORD : the name where nobody sits at the machine, then the password.
type_credentials() {
    local press=$ROOT/build/release/press
    if "$press" --shows text "User name"; then
        say "typing the name and the password"
        id -un | "$press" --type text "User name" || die "the name could not be typed"
    else
        say "typing the password"
    fi
    printf '%s\n' "$1" | "$press" --type "text" "Password" ||
        die "the password could not be typed"
}

# end_when_refused SESSION : the prompt of a refused password waits for another one, which nobody is
# there to give.
end_when_refused() {
    local said='Failed to validate credentials|Secure Token not enabled'
    while kill -0 "$1" 2>/dev/null; do
        if grep -qE "$said" "$ROOT/build/run/prompt.log"; then
            end_children
            say "refused: $(grep -oE -m 1 "($said).*" "$ROOT/build/run/prompt.log")"
            exit "$STATUS_REFUSED"
        fi
        sleep 0.2
    done
}

# finish_run SESSION : waits for the answer and shows what came of it.
finish_run() {
    local status=0
    wait "$1" || status=$?
    case $status in
        0) say "answer: proceed" ;;
        10) say "answer: postpone" ;;
        *) die "the prompt ended with status $status" ;;
    esac
    wait "$RECEIVER" || true
    say "the service received:"
    cat "$ROOT/build/run/answer"
    say "line of the access log:"
    tail -n 1 "$ROOT/build/run/log/UserLogs/rebootaccess.log"
    printf '\n'
}
