#!/usr/bin/env bash
# Whether shellcheck has nothing to say on any script of the repository.
set -euo pipefail
cd -- "$(dirname -- "$0")/.."
scripts=(dev .ci/run examples/offline-update/ask-for-update
    tools/ostrel_agent/start-in-session packaging/debian/{postinst,postrm,prerm})
while IFS= read -r script; do
    scripts+=("$script")
done < <(find dev.d examples packaging tests -name '*.sh' | sort)
exec shellcheck -x "${scripts[@]}"
