#!/usr/bin/env bash
# Whether every C++ file of the repository is laid out as .clang-format says.
set -euo pipefail
cd -- "$(dirname -- "$0")/.."
find agent app credentials platform prompt tests tools ui window -name '*.h' -print0 -o \
    -name '*.cpp' -print0 | xargs -0 clang-format --dry-run -Werror
