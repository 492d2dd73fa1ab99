#!/bin/sh
# Whether the running agent service tells of itself what the installed interface file tells.
#
# usage: dbus-run-session -- check_introspection.sh OSTREL-AGENT PACKAGING-FOLDER
set -eu
here=$(dirname -- "$0")
name=com.velunor.OstrelAgent
object=/com/velunor/OstrelAgent

export VELUNOR_AGENT_SETTINGS="$2/ostrel-agent.toml"
export VELUNOR_AGENT_BUS=session
said=$(mktemp)
"$1" serve 2>"$said" &
service=$!
trap 'kill $service 2>/dev/null; rm -f "$said"' EXIT
until grep -q serving "$said"; do
    kill -0 $service 2>/dev/null || {
        cat "$said" >&2
        exit 1
    }
    sleep 0.05
done

busctl --user introspect --xml-interface $name $object | "$here/../system/guest/check_interface.py" "$2/$name"1.xml
