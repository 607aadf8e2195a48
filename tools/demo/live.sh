#!/usr/bin/env bash
# Starts a simulated camera and the page of ko live, which prints its address: live.sh KO. Ctrl-C ends both, and so does
# any signal that ends a program.
set -euo pipefail

# Both in the background: a signal that comes while bash waits for a program in the foreground is looked at later.
programs=()
end() {
    trap - EXIT
    kill "${programs[@]}" 2>/dev/null || true
    wait
}
trap end EXIT
trap exit HUP INT TERM

arv-fake-gv-camera-0.8 -i 127.0.0.1 &
programs+=($!)
for _ in 1 2 3 4 5; do
    "$1" cameras | grep -q 127.0.0.1 && break
done
"$1" live 127.0.0.1 --pixel-format BayerRG8 --http 0 &
programs+=($!)
wait $!
