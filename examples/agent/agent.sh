#!/usr/bin/env bash
# An agent for the shell: shows the update prompt, hears its answer and prints it.
#
# usage: agent.sh [--active] [--bin DIRECTORY] UPDATE MINUTES
#
# Asks the user who runs it, over their session bus; with --active, as root, whoever sits at the
# machine, over the system bus. Ends with 0 for proceed, 10 for postpone, 1 without an answer.
# busctl asks others; what answers on the bus is "ostrel-agent serve".
set -euo pipefail

readonly name=com.velunor.OstrelAgent
readonly key=PatchOSUpdateNotificationStatus
bin=/opt/velunor/ostrel_agent/bin
user=$(id -u)
bus=--user
in_session=()
export VELUNOR_AGENT_BUS=session

# login_manager OBJECT INTERFACE PROPERTY : its value, as busctl prints it, without its type.
login_manager() {
    busctl --system get-property org.freedesktop.login1 "$1" "org.freedesktop.login1.$2" "$3" |
        cut -d ' ' -f 2- | tr -d '"'
}

while [ $# -gt 2 ]; do
    case $1 in
        --active)
            read -r _ session < <(login_manager /org/freedesktop/login1/seat/seat0 Seat ActiveSession)
            [ "$session" != / ] || {
                echo "nobody is logged in at the machine" >&2
                exit 1
            }
            read -r user _ < <(login_manager "$session" Session User)
            bus=--system
            VELUNOR_AGENT_BUS=system
            ;;
        --bin)
            bin=$2
            shift
            ;;
    esac
    shift
done
if [ "$bus" = --system ]; then
    # The user's own service manager starts the prompt, for it knows the display of the session.
    in_session=(setpriv "--reuid=$user" "--regid=$(id -g -- "$(id -nu -- "$user")")" --init-groups
        --reset-env env "XDG_RUNTIME_DIR=/run/user/$user"
        "$bin/start-in-session" "example-agent-$$" --)
fi

exec {requests}< <(exec "$bin/ostrel-agent" serve)
service=$!
# The prompt has to find this service behind the name, and no other.
until [ "$(busctl "$bus" call org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus \
    GetConnectionUnixProcessID s $name 2>/dev/null)" = "u $service" ]; do
    kill -0 "$service" 2>/dev/null || exit 1
    sleep 0.1
done

# The prompt ends when it has got its reply, and without an answer when nothing could be shown.
{
    "${in_session[@]}" "$bin/VelunorOSUpdate" OSUpdate "$1" false "$2" false 0 || true
    kill "$service"
} >&2 &

# Everybody on the bus can send an answer: only the asked user's counts. That of a prompt that asks
# for a password holds it: no log and no argument of a program may get the message.
answer=
while read -r -u "$requests" sender what message; do
    [ "$sender $what" = "$user $key" ] || continue
    case $message in
        '{"proceed":'*) answer=${answer:-proceed} ;;
        '{"postponse":'*) answer=${answer:-postpone} ;;
    esac
done
wait

[ -n "$answer" ] || {
    echo "there was no answer" >&2
    exit 1
}
echo "$answer"
[ "$answer" = proceed ] || exit 10
