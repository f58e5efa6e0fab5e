#!/usr/bin/env bash
# install.sh BUILD_DIR CONSUMER_DIR COMPILER: hosts outside the tree use an installed copy.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/installed" >/dev/null
unset tavio_language
bash "$(dirname "$0")/hosts.sh" "$work/installed" "$2" "$3" "$work/hosts"
