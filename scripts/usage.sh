#!/usr/bin/env bash
# Prints the help of a script: the comment at its top.
#
#   scripts/usage.sh <script>
set -euo pipefail

sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$1"
