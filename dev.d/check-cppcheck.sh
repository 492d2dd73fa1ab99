#!/usr/bin/env bash
# Whether cppcheck has nothing to say on the program's sources.
# usage: check-cppcheck.sh BUILD    where the toolkit's part of them has been generated
set -euo pipefail
build=$1
cd -- "$(dirname -- "$0")/.."
# It checks nothing twice that it has found clean.
mkdir -p "$build/cppcheck"
python3 - "$build/compile_commands.json" "$PWD" >"$build/cppcheck/compile_commands.json" <<'END'
import json
import sys

folders = ("agent", "app", "credentials", "platform", "prompt", "tools", "ui", "window")
with open(sys.argv[1], encoding="utf-8") as file:
    entries = [entry for entry in json.load(file)
               if entry["file"].startswith(tuple(f"{sys.argv[2]}/{folder}/" for folder in folders))]
print(json.dumps(entries))
END
# What it would have to find out from the libraries' headers, which it does not read.
library=(--library=qt -DQ_MOC_OUTPUT_REVISION=68 "-DSD_BUS_PARAM(name)=#name")
exec cppcheck "--project=$build/cppcheck/compile_commands.json" \
    "--cppcheck-build-dir=$build/cppcheck" --enable=warning,performance,portability \
    --suppress=missingIncludeSystem --inline-suppr --error-exitcode=1 --quiet -j "$(nproc)" \
    "${library[@]}"
