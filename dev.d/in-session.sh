#!/bin/sh
# Runs a command inside a private session bus that carries the accessibility services as well, and
# leaves the bus's address where ./dev run looks for it.
set -eu
export AT_SPI_BUS_ADDRESS="$DBUS_SESSION_BUS_ADDRESS"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
directory=$(dirname "$VELUNOR_AGENT_SETTINGS")
printf '%s\n' "$DBUS_SESSION_BUS_ADDRESS" >"$directory/bus.new"
mv "$directory/bus.new" "$directory/bus"
exec "$@"
