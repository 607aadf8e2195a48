#!/usr/bin/env bash
# Starts a simulated camera and the page of ko live, which prints its address: live.sh KO. Ctrl-C ends both.
set -euo pipefail

arv-fake-gv-camera-0.8 -i 127.0.0.1 &
camera=$!
trap 'kill $camera 2>/dev/null || true' EXIT
for _ in 1 2 3 4 5; do
    "$1" cameras | grep -q 127.0.0.1 && break
done
"$1" live 127.0.0.1 --pixel-format BayerRG8 --http 0
