#!/usr/bin/env bash
# Redraws the pictures of the user guide with Debian's python3-matplotlib (installed first).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh charts
/usr/bin/python3 scripts/end-conditions.py docs/images/end-conditions.png
echo "docs/images/end-conditions.png"
