#!/usr/bin/env bash
# Prints the first mirror among the machine's own package sources that has a release of Debian. The
# updates suites do not count: they hold only what has changed since.
#
#   scripts/debian_mirror.sh <codename>
set -euo pipefail

mapfile -t uris < <(apt-get indextargets --format "\$(REPO_URI)" \
    'Created-By: Packages' 'Origin: Debian' "Codename: $1" 'Component: main')
[ ${#uris[@]} -gt 0 ] || {
    echo "$0: apt knows no mirror of Debian's $1; try apt-get update" >&2
    exit 1
}
echo "${uris[0]}"
